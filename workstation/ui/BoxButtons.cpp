#include "workstation/ui/BoxButtons.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "workstation/ui/TextTable.h"
#include "workstation/ui/Texts.h"

namespace workstation {
namespace {

std::vector<int> answersOf(UINT style) {
  switch (style & MB_TYPEMASK) {
    case MB_OK:
      return {IDOK};
    case MB_OKCANCEL:
      return {IDOK, IDCANCEL};
    case MB_ABORTRETRYIGNORE:
      return {IDABORT, IDRETRY, IDIGNORE};
    case MB_YESNOCANCEL:
      return {IDYES, IDNO, IDCANCEL};
    case MB_YESNO:
      return {IDYES, IDNO};
    case MB_RETRYCANCEL:
      return {IDRETRY, IDCANCEL};
    default:
      return {platform::denyingAnswer(style)};
  }
}

int labelOf(int answer) {
  switch (answer) {
    case IDCANCEL:
      return kTextButtonCancel;
    case IDABORT:
      return kTextButtonAbort;
    case IDRETRY:
      return kTextButtonRetry;
    case IDIGNORE:
      return kTextButtonIgnore;
    case IDYES:
      return kTextButtonYes;
    case IDNO:
      return kTextButtonNo;
    default:
      return kTextButtonOk;
  }
}

}  // namespace

std::vector<BoxButton> boxButtons(UINT style) {
  std::vector<BoxButton> buttons;
  for (const int answer : answersOf(style)) buttons.push_back({answer, languageText(labelOf(answer))});
  return buttons;
}

bool offersAnswer(UINT style, int answer) {
  const std::vector<int> answers = answersOf(style);
  return std::find(answers.begin(), answers.end(), answer) != answers.end();
}

int agreeingAnswer(UINT style) {
  for (const int answer : {IDYES, IDRETRY, IDOK}) {
    if (offersAnswer(style, answer)) return answer;
  }
  return platform::denyingAnswer(style);
}

std::wstring plainLabel(const std::wstring& label) {
  std::wstring plain = label;
  std::erase_if(plain, [](wchar_t c) { return c == L'[' || c == L']'; });
  return plain;
}

bool meansButton(const std::wstring& typed, const std::wstring& label) {
  constexpr const wchar_t* kBlanks = L" \t\r";
  const std::size_t begin = typed.find_first_not_of(kBlanks);
  if (begin == std::wstring::npos) return false;
  const std::wstring word = typed.substr(begin, typed.find_last_not_of(kBlanks) + 1 - begin);
  const std::size_t bracket = label.find(L'[');
  const std::wstring letter = bracket == std::wstring::npos ? L"" : label.substr(bracket + 1, 1);
  return platform::equalsIgnoreCase(word, letter) || platform::equalsIgnoreCase(word, plainLabel(label));
}

}  // namespace workstation
