#include "zephor/Projects.h"

#include <algorithm>
#include <cwctype>

#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kProjectExtension = L".prj";
/// Marks a descriptor that was never read; the value is the host's.
constexpr std::int32_t kLazyFormatNumber = 328;

template <std::size_t Size>
void copyText(wchar_t (&target)[Size], const wchar_t* text) {
  const std::wstring_view source = text != nullptr ? text : L"";
  const std::size_t length = std::min(source.size(), Size - 1);
  std::copy_n(source.begin(), length, target);
  std::fill(target + length, target + Size, L'\0');
}

}  // namespace

PRJ WGO_CreateLazyOnlinePRJ(const wchar_t* host, const wchar_t* name) {
  PRJ prj;
  copyText(prj.host, host);
  copyText(prj.directoryName, name);
  prj.projectNumber = kRemoteOnlineProjectNumber;
  prj.formatNumber = kLazyFormatNumber;
  return prj;
}

bool WGO_isRemoteOnlineProjectNr(int number) {
  return number == kRemoteOnlineProjectNumber;
}

std::wstring WGO_BuildProjectDirectoryName(const wchar_t* name) {
  std::wstring result = name != nullptr ? name : L"";
  while (!result.empty() && std::iswspace(static_cast<std::wint_t>(result.back())) != 0) result.pop_back();
  if (platform::findIgnoreCase(result, kProjectExtension) == std::wstring::npos) result += kProjectExtension;
  return result;
}

std::wstring ConvertFileNameToFullPath(const PRJ& prj, const std::wstring& name) {
  return platform::joinPath(prj.GetFullProjectPath(true), name);
}

int WGO_DrawingsInteraction(WGO_DrawingInteraction /*interaction*/) {
  return 0;
}

}  // namespace Quorvel::FileAccess
