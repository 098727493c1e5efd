#include "workstation/ui/TerminalInterface.h"

#include <algorithm>

#include "platform/Dialog.h"
#include "workstation/ui/BoxButtons.h"
#include "workstation/ui/Terminal.h"
#include "workstation/ui/TerminalDialog.h"
#include "workstation/ui/TerminalProgress.h"
#include "workstation/ui/TextTable.h"
#include "workstation/ui/Texts.h"

namespace workstation {
namespace {

constexpr int kAgreeAtMost = 3;

std::wstring boxText(const platform::MessageBoxRequest& request) {
  std::wstring text = request.caption.empty() ? request.text : request.caption + L": " + request.text;
  while (text.ends_with(L'\n')) text.pop_back();
  return text + L'\n';
}

std::wstring detailsText(const platform::MessageBoxRequest& request) {
  std::wstring text = request.details;
  while (text.ends_with(L'\n')) text.pop_back();
  return (request.detailsCaption.empty() ? std::wstring() : request.detailsCaption + L":\n") + text + L'\n';
}

std::wstring labelOf(UINT style, int answer) {
  for (const BoxButton& button : boxButtons(style)) {
    if (button.answer == answer) return plainLabel(button.label);
  }
  return {};
}

}  // namespace

TerminalInterface::TerminalInterface(Terminal& terminal, const TerminalOptions& options)
    : terminal_(terminal), options_(options) {}

TerminalInterface::~TerminalInterface() {
  terminal_.clearLine();
}

int TerminalInterface::messageBox(const platform::MessageBoxRequest& request) {
  const std::lock_guard lock(questions_);
  if (options_.details && !request.details.empty()) terminal_.write(detailsText(request));
  const int answer = answerOf(request);
  return isTicked(request) ? answer | platform::kBoxChecked : answer;
}

int TerminalInterface::answerOf(const platform::MessageBoxRequest& request) {
  const bool isQuestion = boxButtons(request.style).size() > 1;
  if (!isQuestion) {
    terminal_.write(boxText(request));
    return boxButtons(request.style).front().answer;
  }
  return isPersonThere() ? ask(request) : answerWithoutAsking(request);
}

bool TerminalInterface::isPersonThere() const {
  return !options_.assumeYes && !options_.assumeNo && terminal_.canAsk();
}

bool TerminalInterface::isPersonThereFor(const std::wstring& question) {
  if (isPersonThere()) return true;
  const std::wstring answer = labelOf(MB_OKCANCEL, IDCANCEL);
  const int reason = options_.assumeNo || options_.assumeYes ? kTextAnswered : kTextNobodyToAsk;
  terminal_.write(question + L'\n' + withParameters(languageText(reason), {answer}) + L'\n');
  return false;
}

std::wstring TerminalInterface::askFileName(const platform::FileNameRequest& request) {
  const std::lock_guard lock(questions_);
  if (!isPersonThereFor(request.filter)) return {};
  asking_ = true;
  terminal_.write(request.filter + L": ");
  std::wstring path;
  if (!terminal_.readLine(path)) terminal_.write(L"\n");
  asking_ = false;
  std::replace(path.begin(), path.end(), L'/', L'\\');
  return path;
}

int TerminalInterface::showDialog(platform::Dialog& dialog) {
  const std::lock_guard lock(questions_);
  if (!isPersonThereFor(dialog.title)) return IDCANCEL;
  asking_ = true;
  const int button = askThrough(dialog, terminal_);
  asking_ = false;
  return button;
}

/// What nobody has read is not ticked off: an unattended run leaves the check box empty.
bool TerminalInterface::isTicked(const platform::MessageBoxRequest& request) {
  if (request.checkBox.empty() || !isPersonThere()) return false;
  platform::MessageBoxRequest question;
  question.text = request.checkBox;
  question.style = MB_YESNO;
  return ask(question) == IDYES;
}

int TerminalInterface::answerWithoutAsking(const platform::MessageBoxRequest& request) {
  int answer = platform::denyingAnswer(request.style);
  int reason = options_.assumeNo || options_.assumeYes ? kTextAnswered : kTextNobodyToAsk;
  const std::wstring text = boxText(request);
  if (options_.assumeYes && !options_.assumeNo) {
    timesAgreed_ = text == lastAgreed_ ? timesAgreed_ + 1 : 1;
    lastAgreed_ = text;
    if (timesAgreed_ > kAgreeAtMost) {
      reason = kTextAnsweredTooOften;
    } else {
      answer = agreeingAnswer(request.style);
    }
  }
  terminal_.write(text + withParameters(languageText(reason), {labelOf(request.style, answer)}) + L'\n');
  return answer;
}

int TerminalInterface::ask(const platform::MessageBoxRequest& request) {
  asking_ = true;
  const int answer = askUntilUnderstood(request);
  asking_ = false;
  return answer;
}

int TerminalInterface::askUntilUnderstood(const platform::MessageBoxRequest& request) {
  const std::vector<BoxButton> buttons = boxButtons(request.style);
  const std::wstring help = request.details.empty() ? L"" : languageText(kTextButtonHelp);
  std::wstring prompt;
  for (const BoxButton& button : buttons) prompt += (prompt.empty() ? L"" : L"/") + button.label;
  if (!help.empty()) prompt += L"/" + help;
  prompt += L"? ";

  terminal_.write(boxText(request));
  for (;;) {
    terminal_.write(prompt);
    std::wstring typed;
    if (!terminal_.readLine(typed)) {
      terminal_.write(L"\n");
      return platform::denyingAnswer(request.style);
    }
    for (const BoxButton& button : buttons) {
      if (meansButton(typed, button.label)) return button.answer;
    }
    const bool wantsHelp = !help.empty() && meansButton(typed, help);
    terminal_.write(wantsHelp ? detailsText(request) : languageText(kTextNotUnderstood) + L"\n");
  }
}

std::unique_ptr<platform::IProgressWindow> TerminalInterface::createProgressWindow(const std::wstring& title,
                                                                                   int /*width*/, int /*height*/) {
  if (options_.quiet) return nullptr;
  return std::make_unique<TerminalProgress>(*this, title);
}

void TerminalInterface::setBusyCursor(bool /*busy*/) {}

int TerminalInterface::open(const std::wstring& target) {
  return platform::openWithDesktop(target);
}

void TerminalInterface::draw(const std::wstring& text) {
  if (asking_) return;
  if (terminal_.canRedraw()) {
    terminal_.redraw(text);
  } else {
    terminal_.write(text + L'\n');
  }
}

void TerminalInterface::showStatus(const std::wstring& text) {
  if (options_.quiet) return;
  if (text.empty()) {
    terminal_.clearLine();
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  {
    const std::lock_guard lock(statusMutex_);
    if (!terminal_.canRedraw() && !isDrawingDue(statusDrawn_, now, kPlainInterval)) return;
    statusDrawn_ = now;
  }
  draw(text);
}

}  // namespace workstation
