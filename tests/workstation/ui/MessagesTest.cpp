#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/UserMessages.h"
#include "workstation/ui/DisplayInfo.h"
#include "workstation/ui/ErrorLog.h"
#include "workstation/ui/HostInterface.h"
#include "workstation/ui/ScriptedInterface.h"

namespace {

using workstation::ScriptedInterface;

class MessagesTest : public testing::Test {
 protected:
  MessagesTest() {
    workstation::setLanguage("en");
    platform::setUserInterface(&ui_);
  }
  ~MessagesTest() override {
    platform::setUserInterface(nullptr);
    workstation::setDenied(false);
  }

  ScriptedInterface ui_;
};

TEST_F(MessagesTest, GuiMessageShowsItsTextWithParameters) {
  sendGuiMessage(1500648, L" 0x5\x1eZ:\\data\\CloudSTD\\1\x1e\x1f");
  ASSERT_EQ(ui_.boxes().size(), 1U);
  EXPECT_EQ(ui_.boxes()[0].text, L"The standard resources could not be downloaded (error 0x5).\nZ:\\data\\CloudSTD\\1");
  EXPECT_EQ(ui_.boxes()[0].style & MB_ICONMASK, MB_ICONINFORMATION);
}

TEST_F(MessagesTest, DeniedMessagesAreOnlyLogged) {
  workstation::setDenied(true);
  EXPECT_TRUE(Msg2usr_IsDeny());
  sendGuiMessage(1500661, L" 0x5\x1e\x1f");
  TBsLocked_MessageBox({3, 12});
  EXPECT_TRUE(ui_.boxes().empty());
  const auto lines = workstation::recentErrorLines();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines[lines.size() - 2], L"The list of standard resources could not be read (error 0x5).");
  EXPECT_NE(lines.back().find(L"3, 12"), std::wstring::npos);
}

TEST_F(MessagesTest, ScriptAnswersInOrderAndNeverWhatABoxDoesNotOffer) {
  ui_.answerWith({IDYES, IDYES});
  const auto ask = [](UINT style) { return MessageBoxW(nullptr, L"text", L"caption", style); };
  EXPECT_EQ(ask(MB_YESNO), IDYES);
  EXPECT_EQ(ask(MB_RETRYCANCEL), IDCANCEL);
  EXPECT_EQ(ui_.unusableAnswers().size(), 1U);
  EXPECT_EQ(ask(MB_YESNO), IDNO);
  ui_.setResponder([](const ScriptedInterface::Box& box) { return box.caption == L"caption" ? IDYES : IDNO; });
  EXPECT_EQ(ask(MB_YESNO), IDYES);
  ASSERT_EQ(ui_.boxes().size(), 4U);
  EXPECT_EQ(ui_.boxes()[1].answer, IDCANCEL);
}

TEST(DisplayInfo, InnermostTextIsSeenWhileAllowed) {
  std::vector<std::wstring> seen;
  workstation::setDisplayInfoListener([&](const std::wstring& text) { seen.push_back(text); });
  {
    const CScopedDisplayInfo unseen(L"before");
    EXPECT_TRUE(seen.empty());
    setDisplayInfoWindowAllowed(1);
    const CScopedDisplayInfo inner(L"inner");
  }
  setDisplayInfoWindowAllowed(0);
  const CScopedDisplayInfo late(L"late");
  workstation::setDisplayInfoListener({});
  EXPECT_EQ(seen, (std::vector<std::wstring>{L"before", L"inner", L"before", L""}));
}

}  // namespace
