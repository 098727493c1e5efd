#include "host/MessageService.h"
#include "host/System.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kNotifyKey = L"Settings\\NotifyWGOSupportEnds";
constexpr int kNeverAnswered = -1;
constexpr int kNoticeTextId = 1500431;
constexpr int kCheckBoxTextId = 1800533;
constexpr UINT kNoticeFlags = 0x1000040;  ///< with a check box, information icon
constexpr unsigned kCheckedBit = 24;

bool takeFirstCall() {
  static bool called = false;
  const bool isFirst = !called;
  called = true;
  return isFirst;
}

}  // namespace

void WGO_notifyCustomerWGOSupportEnds() {
  if (!takeFirstCall()) return;
  int answered = kNeverAnswered;
  ZSYST_ZepRegGetNumber(L"HKCU", kNotifyKey, answered);
  if (answered != kNeverAnswered && answered != 0) return;
  const std::unique_ptr<IZepMessageService> messages = ZP_InterfaceManager::CreateInstance(kMessageServiceInterface);
  if (messages == nullptr || !messages->IsValid()) return;
  const auto answer = static_cast<unsigned>(messages->ShowMessage(kNoticeTextId, kNoticeFlags, kCheckBoxTextId));
  ZSYST_ZepRegPutNumber(L"HKCU", kNotifyKey, static_cast<int>((answer >> kCheckedBit) & 1U));
}

}  // namespace Quorvel::FileAccess
