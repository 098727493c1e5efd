#include "archives/FreshDirectory.h"

#include <array>

#include "host/Guid.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {

FreshDirectory::FreshDirectory(const std::wstring& parent, const std::wstring& name) {
  const std::wstring random = Cad::Service::ZP_GUIDValueProvider::printGUID(GetGUID());
  path_ = platform::joinPath(parent, platform::formatWide(L".%s.%s.tmp", name, random));
  for (std::wstring above = parent; !above.empty() && !platform::fileStatus(above).exists;) {
    parents_.push_back(above);
    above = platform::directoryOf(above);
  }
  error_ = static_cast<DWORD>(SHCreateDirectoryExW(nullptr, path_.c_str(), nullptr));
}

FreshDirectory::FreshDirectory(const std::wstring& target)
    : FreshDirectory(platform::directoryOf(target), platform::fileNameOf(target)) {}

FreshDirectory::~FreshDirectory() {
  if (isPlaced_) return;
  platform::removeTree(path_);
  for (const std::wstring& parent : parents_) RemoveDirectoryW(parent.c_str());
}

DWORD FreshDirectory::takePlace(const std::wstring& target) {
  isPlaced_ = MoveFileExW(path_.c_str(), target.c_str(), 0) != FALSE;
  return isPlaced_ ? ERROR_SUCCESS : GetLastError();
}

std::wstring temporaryDirectory() {
  std::array<wchar_t, MAX_PATH + 1> directory{};
  const DWORD length = GetTempPathW(static_cast<DWORD>(directory.size()), directory.data());
  return length < directory.size() ? std::wstring(directory.data(), length) : std::wstring();
}

}  // namespace Quorvel::FileAccess
