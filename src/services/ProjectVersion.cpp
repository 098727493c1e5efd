#include "host/Project.h"
#include "host/System.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Synchronisation.h"
#include "platform/UserInterface.h"
#include "zephor/Workgroup.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::uint32_t kReleasesBehind = 3;
constexpr int kTooOldTextId = 1500772;
constexpr int kTooNewTextId = 1500773;

}  // namespace

bool WGO_isValidProjectVersion(const PRJ& prj, bool /*ignored*/, bool showMessage) {
  if (!prj.IsOndrathProject()) return true;
  const int difference = static_cast<std::uint8_t>(get_InternMainRelease()) - int{prj.mainRelease};
  // Unsigned: a project that is ahead of the program counts as very far behind.
  if (static_cast<std::uint32_t>(difference) <= kReleasesBehind) return true;
  const int textId = difference < 0 ? kTooNewTextId : kTooOldTextId;
  const std::wstring text = CQuoString().GetQuorvotParText(textId, nullptr, 0, 256).text();
  lfperrC(L"%s: %s - %s\n", L"Quorvel::FileAccess::WGO_isValidProjectVersion", text, prj.GetOndrathProjectUuid());
  if (showMessage) {
    MessageBoxW(Msg2usr_GetThreadForegroundWindow(GetCurrentThreadId()), text.c_str(), L"Quorvel",
                MB_ICONINFORMATION | MB_SETFOREGROUND);
  }
  return false;
}

}  // namespace Quorvel::FileAccess
