#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <cstdio>
#include <future>
#include <memory>
#include <string>

#include "platform/Dialog.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/Terminal.h"
#include "workstation/ui/TerminalInterface.h"

namespace {

using platform::MessageBoxRequest;
using workstation::Terminal;
using workstation::TerminalInterface;
using workstation::TerminalOptions;

/// A person at a terminal: types, and reads what the program writes.
class PseudoTerminal {
 public:
  PseudoTerminal() {
    if (openpty(&person_, &program_, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no pseudo terminal");
  }
  ~PseudoTerminal() {
    close(person_);
    close(program_);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  int program() const { return program_; }
  void type(const std::string& text) const {
    ASSERT_EQ(write(person_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  /// Everything on the screen once `text` has appeared on it; without it, what came within ten seconds.
  std::string screenWith(const std::string& text) {
    pollfd wait{person_, POLLIN, 0};
    while (screen_.find(text) == std::string::npos && poll(&wait, 1, 10000) > 0) {
      char buffer[1024];
      const ssize_t got = read(person_, buffer, sizeof buffer);
      if (got <= 0) break;
      screen_.append(buffer, static_cast<std::size_t>(got));
    }
    return screen_;
  }

 private:
  int person_ = -1;
  int program_ = -1;
  std::string screen_;
};

/// A program whose output goes to a file.
class Output {
 public:
  int writer() const { return fileno(file_.get()); }
  std::string everything() const {
    std::string text(4096, '\0');
    text.resize(static_cast<std::size_t>(pread(writer(), text.data(), text.size(), 0)));
    return text;
  }

 private:
  std::unique_ptr<FILE, int (*)(FILE*)> file_{tmpfile(), &fclose};
};

MessageBoxRequest box(UINT style, const std::wstring& details = L"") {
  MessageBoxRequest request;
  request.caption = L"Quorvel";
  request.text = L"Failed to get files\x1b[2J";
  request.style = style;
  request.details = details;
  return request;
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

class TerminalTest : public testing::Test {
 protected:
  TerminalTest() { workstation::setLanguage("en"); }

  std::future<int> ask(const MessageBoxRequest& request, const TerminalOptions& options = {}) {
    return std::async(std::launch::async, [this, request, options] {
      Terminal terminal(screen_.program(), screen_.program());
      TerminalInterface ui(terminal, options);
      return ui.messageBox(request);
    });
  }

  PseudoTerminal screen_;
};

TEST_F(TerminalTest, QuestionIsRepeatedUntilItIsUnderstood) {
  auto answer = ask(box(MB_RETRYCANCEL | MB_ICONHAND));
  const std::string asked = screen_.screenWith("? ");
  EXPECT_TRUE(contains(asked, "Quorvel: Failed to get files\\x1b[2J\r\n"));
  EXPECT_TRUE(contains(asked, "[R]etry/[C]ancel? "));
  screen_.type("perhaps\n");
  screen_.screenWith("letters in brackets");
  screen_.type(" r \n");
  EXPECT_EQ(answer.get(), IDRETRY);
}

TEST_F(TerminalTest, EndOfInputDenies) {
  auto answer = ask(box(MB_YESNO));
  screen_.screenWith("? ");
  screen_.type("\x04");
  EXPECT_EQ(answer.get(), IDNO);
}

TEST_F(TerminalTest, OnlyAPersonTicksACheckBox) {
  MessageBoxRequest notice = box(MB_OK);
  notice.checkBox = L"Not again";
  auto answer = ask(notice);
  EXPECT_TRUE(contains(screen_.screenWith("? "), "Not again\r\n[Y]es/[N]o? "));
  screen_.type("y\n");
  EXPECT_EQ(answer.get(), IDOK | platform::kBoxChecked);
  EXPECT_EQ(ask(notice, {.assumeYes = true}).get(), IDOK);
}

/// A user name, a password and whether to keep them.
struct Login : platform::Dialog {
  using Kind = platform::DialogControl::Kind;
  Login() {
    title = L"Log in";
    controls = {{1, Kind::Label, L"Name"},     {2, Kind::Edit, L"ada", 8},
                {3, Kind::Label, L"Password"}, {4, Kind::Password, L"stored", 15},
                {5, Kind::CheckBox, L"Keep"},  {6, Kind::CheckBox, L"Grey", 0, false, false}};
  }
};

TEST_F(TerminalTest, DialogAsksForEachControlAndShowsNoPassword) {
  Login dialog;
  const auto show = [&] {
    return std::async(std::launch::async, [&] {
      Terminal terminal(screen_.program(), screen_.program());
      return TerminalInterface(terminal, {}).showDialog(dialog);
    });
  };
  auto button = show();
  screen_.screenWith("Name [ada]: ");
  screen_.type("grace hopper\n");
  screen_.screenWith("Password: ");
  screen_.type("se;cret\n");
  screen_.screenWith("Keep [Y]es/<[N]o>? ");
  screen_.type("y\n");
  EXPECT_EQ(button.get(), IDOK);
  EXPECT_EQ(dialog.control(2).text, L"grace ho");
  EXPECT_EQ(dialog.control(4).text, L"se;cret");
  EXPECT_TRUE(dialog.control(5).isChecked);

  button = show();
  screen_.screenWith("Name [grace ho]: ");
  screen_.type("\n");
  screen_.screenWith("Name [grace ho]: \r\nPassword: ");
  screen_.type("half\x03");
  EXPECT_EQ(button.get(), IDCANCEL) << "interrupted";
  const std::string shown = screen_.screenWith("Password: \r\n\r\n");
  for (const char* secret : {"secret", "cret", "stored", "half", "Grey"})
    EXPECT_FALSE(contains(shown, secret)) << secret;
  EXPECT_EQ(dialog.control(4).text, L"se;cret");
}

TEST(TerminalWithoutPerson, DeniesAndSaysSo) {
  workstation::setLanguage("en");
  const Output output;
  Terminal terminal(STDIN_FILENO, output.writer());
  TerminalInterface ui(terminal, {});
  EXPECT_EQ(ui.messageBox(box(MB_YESNO)), IDNO);
  EXPECT_EQ(ui.messageBox(box(MB_RETRYCANCEL)), IDCANCEL);
  Login dialog;
  EXPECT_EQ(ui.showDialog(dialog), IDCANCEL);
  EXPECT_EQ(ui.askFileName({nullptr, L"ZIP (*.zip)"}), L"");
  const std::string text = output.everything();
  EXPECT_TRUE(contains(text, "Quorvel: Failed to get files\\x1b[2J\n"));
  EXPECT_TRUE(contains(text, "There is no terminal to ask on. Answered: No\n"));
}

TEST(TerminalOptions, AnswerWithoutAsking) {
  const Output output;
  Terminal terminal(STDIN_FILENO, output.writer());
  TerminalInterface agreeing(terminal, {.assumeYes = true});
  EXPECT_EQ(agreeing.messageBox(box(MB_YESNOCANCEL)), IDYES);
  EXPECT_EQ(agreeing.messageBox(box(MB_OKCANCEL)), IDOK);
  TerminalInterface retrying(terminal, {.assumeYes = true});
  for (const int answer : {IDRETRY, IDRETRY, IDRETRY, IDCANCEL}) {
    EXPECT_EQ(retrying.messageBox(box(MB_RETRYCANCEL)), answer) << "agreeing to the same has an end";
  }
  TerminalInterface denying(terminal, {.assumeYes = true, .assumeNo = true, .quiet = true});
  EXPECT_EQ(denying.messageBox(box(MB_YESNO)), IDNO);
  EXPECT_EQ(denying.createProgressWindow(L"Uploading", 500, 45), nullptr);
  EXPECT_TRUE(contains(output.everything(), "Failed to get files"));
}

}  // namespace
