#include <gtest/gtest.h>

#include <string>

#include "host/UserMessages.h"
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

}  // namespace
