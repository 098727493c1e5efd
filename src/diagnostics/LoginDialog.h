// The login dialog: what it says and how its controls hang together. The user interface in place shows it.
#pragma once

#include <string>

#include "platform/Dialog.h"
#include "zephor/LoginDialog.h"

namespace Quorvel::FileAccess {

/// Numbers of the controls; the buttons have those of their answers.
enum LoginControl : int {
  kLoginOk = 1,
  kLoginCancel = 2,
  kLoginUserLabel = 2001,
  kLoginServerLabel = 2002,
  kLoginPasswordLabel = 2003,
  kLoginServer = 2004,
  kLoginUser = 2005,
  kLoginPassword = 2006,
  kLoginSaveUser = 2007,
  kLoginSavePassword = 2008,
  kLoginReason = 2009,
};

class CLoginDialogImpl : public platform::Dialog {
 public:
  /// @param data  outlives the dialog; written by DoModal() alone
  CLoginDialogImpl(HWND window, const std::wstring& serverName, const std::wstring& serverAddress, LoginData& data);
  ~CLoginDialogImpl() override;
  CLoginDialogImpl(const CLoginDialogImpl&) = delete;
  CLoginDialogImpl& operator=(const CLoginDialogImpl&) = delete;

  /// Shows the dialog and takes what was entered when it ends with OK. @return 1 for OK, 2 for Cancel
  int DoModal();

 protected:
  void clicked(int id) override;

 private:
  void chooseFocus();
  void takeInput();

  LoginData& data_;
};

}  // namespace Quorvel::FileAccess
