#include "workstation/store/EmbeddedController.h"

#include <string_view>
#include <utility>

#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Text.h"
#include "platform/UserInterface.h"
#include "workstation/store/EmbeddedProjectService.h"
#include "workstation/store/EmbeddedSession.h"

namespace workstation {

namespace {

/// A path as it stands in a URL: all but letters, digits, `-._~` and the slashes as `%XX`.
std::wstring percentEncoded(const std::string& path) {
  constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  std::wstring text;
  for (const char c : path) {
    const bool isPlain = kPlain.find(c) != std::string_view::npos;
    text += isPlain ? std::wstring(1, static_cast<wchar_t>(c))
                    : platform::formatWide(L"%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
  }
  return text;
}

class EmbeddedController : public ICloudController {
 public:
  explicit EmbeddedController(EmbeddedSession& session) : session_(session), service_(session) {}
  explicit EmbeddedController(std::unique_ptr<EmbeddedSession> session)
      : owned_(std::move(session)), session_(*owned_), service_(session_) {}

  CloudStatus Login(bool interactive, bool silent) override {
    std::wstring error;
    const CloudStatus status = session_.logIn(error);
    if (status == kStoreOk) return status;
    lfperrC(L"cloud login failed with 0x%08x: %s\n", static_cast<unsigned>(status), error);
    if (interactive && !silent && !Msg2usr_IsDeny()) {
      platform::MessageBoxRequest request;
      request.text = error;
      request.caption = L"Quorvel";
      request.style = MB_OK | MB_ICONEXCLAMATION | MB_SETFOREGROUND;
      platform::userInterface().messageBox(request);
    }
    return status;
  }

  void GetAccessToken(std::wstring& token) override { token = session_.token(); }

  void GetPortalUrl(std::wstring& url) override {
    // The store has no portal of its own: its directory is what a browser can show.
    std::string directory = session_.directory();
    while (directory.ends_with('/')) directory.pop_back();
    url = directory.empty() ? std::wstring() : L"file://" + percentEncoded(directory);
  }

  void GetTeamContext(std::wstring& first, std::wstring& second) override {
    first.clear();
    second.clear();
    const std::wstring open = session_.project();
    if (open.empty()) return;
    std::wstring name;
    service_.GetProjectInfo(open, name, second, first);
  }

  ICloudProjectService* GetProjectService() override { return &service_; }

 private:
  std::unique_ptr<EmbeddedSession> owned_;
  EmbeddedSession& session_;
  EmbeddedProjectService service_;
};

class EmbeddedSso : public ISsoController {
 public:
  explicit EmbeddedSso(EmbeddedSession& session) : session_(session) {}
  void Logout() override { session_.logOut(); }

 private:
  EmbeddedSession& session_;
};

}  // namespace

std::unique_ptr<ICloudController> makeEmbeddedController(EmbeddedSession& session) {
  return std::make_unique<EmbeddedController>(session);
}

std::unique_ptr<ICloudController> makeEmbeddedController(std::string storeDirectory, StoreActor actor) {
  return std::make_unique<EmbeddedController>(
      std::make_unique<EmbeddedSession>(std::move(storeDirectory), std::move(actor)));
}

std::unique_ptr<ISsoController> makeEmbeddedSso(EmbeddedSession& session) {
  return std::make_unique<EmbeddedSso>(session);
}

}  // namespace workstation
