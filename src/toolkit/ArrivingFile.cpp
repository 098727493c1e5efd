#include "toolkit/ArrivingFile.h"

#include <random>

#include "platform/Paths.h"
#include "platform/Permissions.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {

namespace {

// Short, so that the longest name of a target has room for it.
constexpr std::wstring_view kPrefix = L".zephor-";
constexpr std::wstring_view kSuffix = L".arriving";
constexpr std::size_t kDigits = 16;
constexpr int kMostAttempts = 100;

std::wstring freshName() {
  std::random_device random;
  return std::wstring(kPrefix) + platform::formatWide(L"%08x%08x", random(), random()) + std::wstring(kSuffix);
}

/// Where the file has to go, which a link at the path may tell. Empty, with the last error, when it can't be replaced.
std::wstring placeOf(const std::wstring& target, DWORD& attributes) {
  constexpr DWORD kProtected = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY;
  const auto refuse = [](DWORD error) {
    SetLastError(error);
    return std::wstring();
  };
  const bool isPossible = platform::fileNameOf(target).find_first_of(L"<>:\"|?*") == std::wstring::npos;
  if (!isPossible) return refuse(ERROR_INVALID_NAME);
  attributes = GetFileAttributesW(target.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return target;
  if ((attributes & kProtected) != 0) return refuse(ERROR_ACCESS_DENIED);
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? platform::weaklyCanonical(target) : target;
}

}  // namespace

ArrivingFile::ArrivingFile(const std::wstring& target) : target_(placeOf(target, attributes_)) {
  if (target_.empty()) return;
  for (int attempt = 0; attempt < kMostAttempts && !isOpen(); ++attempt) {
    path_ = platform::joinPath(platform::directoryOf(target_), freshName());
    file_.emplace(path_, GENERIC_WRITE, FILE_SHARE_DELETE, CREATE_NEW);
    if (!file_->isOpen() && GetLastError() != ERROR_FILE_EXISTS) break;
  }
  if (!isOpen()) {
    path_.clear();
  } else if (isReplacement()) {
    platform::takePermissions(file_->handle(), target_);
  }
}

ArrivingFile::~ArrivingFile() {
  const DWORD error = GetLastError();
  file_.reset();
  if (!path_.empty()) DeleteFileW(path_.c_str());
  SetLastError(error);
}

bool ArrivingFile::takePlace(bool isSynced) {
  if ((isSynced && !file_->flush()) || !file_->close()) return false;
  constexpr DWORD kKept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
  const bool keepsAttributes = attributes_ != INVALID_FILE_ATTRIBUTES && (attributes_ & kKept) != 0;
  if (keepsAttributes && SetFileAttributesW(path_.c_str(), attributes_) == FALSE) return false;
  if (MoveFileExW(path_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) return false;
  path_.clear();
  return true;
}

bool ArrivingFile::isNameOfOne(const std::wstring& name) {
  return name.size() == kPrefix.size() + kDigits + kSuffix.size() && name.rfind(kPrefix, 0) == 0 &&
         name.compare(kPrefix.size() + kDigits, kSuffix.size(), kSuffix) == 0;
}

}  // namespace Quorvel::FileAccess
