#include "cloud/CacheNames.h"

#include "cloud/CloudCall.h"
#include "platform/Paths.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::wstring_view kBimFolder = L"BIM\\";
constexpr std::wstring_view kProjectEnding = L".prj";

}  // namespace

std::wstring cacheDirectory(const CloudCall& call, const PRJ& prj) {
  std::wstring directory;
  if (make_prj_dir(prj, directory) == 0) return directory;
  lfperrC(L"%s: no directory is known for \"%s\"\n", call.function(), call.project());
  return {};
}

std::wstring projectFilesRecord(const std::wstring& directory) {
  const bool hasEnding =
      directory.size() > kProjectEnding.size() && platform::endsWithIgnoreCase(directory, kProjectEnding);
  return directory.substr(0, directory.size() - (hasEnding ? kProjectEnding.size() : 0)) + L".files";
}

bool isBimTopLevelName(const std::wstring& name) {
  return name.size() > kBimFolder.size() && platform::startsWithIgnoreCase(name, kBimFolder) &&
         name.find(L'\\', kBimFolder.size()) == std::wstring::npos;
}

std::optional<std::wstring> placeInDirectory(const std::wstring& directory, const std::wstring& name) {
  if (directory.empty() || !platform::isSafeRelativeName(name)) return std::nullopt;
  std::wstring place = platform::joinPath(directory, name);
  // The last component is not followed: a link there is what is named, not its target.
  const std::wstring around = platform::lexicallyRelative(platform::weaklyCanonical(platform::directoryOf(place)),
                                                          platform::weaklyCanonical(directory));
  if (around != L"." && !platform::isSafeRelativeName(around)) return std::nullopt;
  return place;
}

bool requireOpenProject(const CloudCall& call) {
  if (platform::equalsIgnoreCase(get_ActivePrj().GetOndrathProjectUuid(), call.project())) return true;
  lfperrC(L"%s: \"%s\" is not the open project\n", call.function(), call.project());
  return false;
}

}  // namespace Quorvel::FileAccess
