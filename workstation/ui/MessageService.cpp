#include "host/MessageService.h"

#include "host/Guid.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/UserInterface.h"
#include "workstation/ui/Texts.h"

namespace workstation {
namespace {

constexpr UINT kWithCheckBox = 0x1000000;

class MessageService final : public IZepMessageService {
 public:
  bool IsValid() const override { return !Msg2usr_IsDeny(); }

  int ShowMessage(int id, UINT flags, int context) override {
    platform::MessageBoxRequest request;
    request.text = languageText(id);
    request.caption = L"Quorvel";
    request.style = flags & ~kWithCheckBox;
    if ((flags & kWithCheckBox) != 0) request.checkBox = languageText(context);
    lfperrC(L"%s\n", request.text);
    return platform::userInterface().messageBox(request);
  }
};

}  // namespace
}  // namespace workstation

std::unique_ptr<IZepMessageService> ZP_InterfaceManager::CreateInstance(const GUID& interfaceId) {
  const bool isKnown = Quorvel::Cad::Service::ZP_GUIDValueProvider::IsEqualGUID(interfaceId, kMessageServiceInterface);
  return isKnown ? std::make_unique<workstation::MessageService>() : nullptr;
}
