#include "diagnostics/LoginDialog.h"

#include <algorithm>
#include <cwchar>

#include "host/UserMessages.h"
#include "platform/SecureMemory.h"
#include "platform/UserInterface.h"

namespace Quorvel::FileAccess {
namespace {

using Kind = platform::DialogControl::Kind;

constexpr int kOkTextId = 100460;
constexpr int kCancelTextId = 100461;
constexpr int kLabelsTextId = 1500379;
constexpr int kLoginTextId = 1500388;
constexpr int kRefusedTextId = 1500389;
constexpr int kServerTextId = 1501623;
constexpr int kLongestText = 256;
constexpr std::size_t kLongestUser = 63;
constexpr std::size_t kLongestPassword = 15;
constexpr const wchar_t* kTitleSeparator = L" - ";

enum Reason : int { kUserRefused = 2, kPasswordRefused = 3 };

std::wstring textOf(int id, int part = 0) {
  return CQuoString().GetQuorvotParText(id, nullptr, part, kLongestText).text();
}

/// A password's copy gets all its room at once, so that none is left behind.
void fill(platform::DialogControl& edit, const wchar_t* text) {
  edit.text.reserve(edit.limit + 1);
  edit.text.assign(text, std::find(text, text + edit.limit, L'\0'));
}

}  // namespace

CLoginDialogImpl::CLoginDialogImpl(HWND window, const std::wstring& serverName, const std::wstring& serverAddress,
                                   LoginData& data)
    : data_(data) {
  owner = window;
  title = textOf(kLoginTextId, 1);
  if (!serverName.empty()) title += kTitleSeparator + serverName;
  controls = {
      {kLoginReason, Kind::Text},
      {kLoginServerLabel, Kind::Label, textOf(kServerTextId)},
      {kLoginServer, Kind::Text, serverAddress},
      {kLoginUserLabel, Kind::Label, textOf(kLabelsTextId, 6)},
      {kLoginUser, Kind::Edit, {}, kLongestUser},
      {kLoginPasswordLabel, Kind::Label, textOf(kLabelsTextId, 7)},
      {kLoginPassword, Kind::Password, {}, kLongestPassword},
      {kLoginSaveUser, Kind::CheckBox, textOf(kLoginTextId, 2), 0, data.saveUser != 0},
      {kLoginSavePassword, Kind::CheckBox, textOf(kLoginTextId, 3), 0, data.savePassword != 0, data.saveUser != 0},
      {kLoginOk, Kind::Button, textOf(kOkTextId)},
      {kLoginCancel, Kind::Button, textOf(kCancelTextId)},
  };
  fill(control(kLoginUser), data.userName);
  fill(control(kLoginPassword), data.password);
  chooseFocus();
}

CLoginDialogImpl::~CLoginDialogImpl() {
  platform::wipe(control(kLoginPassword).text);
}

void CLoginDialogImpl::chooseFocus() {
  const bool hasUser = !control(kLoginUser).text.empty();
  const bool hasPassword = !control(kLoginPassword).text.empty();
  focus = hasUser && !hasPassword ? kLoginPassword : kLoginUser;
  if (data_.reason == kUserRefused) {
    focus = kLoginUser;
    control(kLoginReason).text = textOf(kRefusedTextId, 1);
  } else if (data_.reason == kPasswordRefused) {
    focus = kLoginPassword;
    control(kLoginReason).text = textOf(kRefusedTextId, 2);
  }
}

void CLoginDialogImpl::clicked(int id) {
  if (id == kLoginSaveUser) control(kLoginSavePassword).isEnabled = control(kLoginSaveUser).isChecked;
}

int CLoginDialogImpl::DoModal() {
  const int button = platform::userInterface().showDialog(*this);
  if (button != kLoginOk) return kLoginCancel;
  takeInput();
  return kLoginOk;
}

void CLoginDialogImpl::takeInput() {
  // Both arrays are filled with zeros to their end: nothing of what stood there is left.
  std::wcsncpy(data_.userName, control(kLoginUser).text.c_str(), std::size(data_.userName));
  std::wcsncpy(data_.password, control(kLoginPassword).text.c_str(), std::size(data_.password));
  data_.saveUser = control(kLoginSaveUser).isChecked ? 1 : 0;
  data_.savePassword = control(kLoginSavePassword).isChecked ? 1 : 0;
}

int WGO_showLoginDialog(HWND owner, const std::wstring& serverName, const std::wstring& serverAddress,
                        LoginData& data) {
  if (Msg2usr_IsDeny()) return kLoginCancel;
  return CLoginDialogImpl(owner, serverName, serverAddress, data).DoModal();
}

}  // namespace Quorvel::FileAccess
