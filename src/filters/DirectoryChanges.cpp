#include "zephor/DirectoryChanges.h"

#include <algorithm>

#include "filters/LogFrame.h"
#include "host/Project.h"
#include "zephor/Diagnostics.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kInit = L"Quorvel::FileAccess::WGO_DirectoryChanges::init";
constexpr const wchar_t* kResume = L"Quorvel::FileAccess::WGO_DirectoryChanges::resume";

// Codes of the notices.
constexpr unsigned long kAdded = 1;
constexpr unsigned long kRemoved = 2;
constexpr unsigned long kRenamedFrom = 4;

/// Sets the thread's last error at the end of a scope, after what logs there and may change it.
class LastErrorAtEnd {
 public:
  LastErrorAtEnd() = default;
  ~LastErrorAtEnd() { SetLastError(error_); }
  LastErrorAtEnd(const LastErrorAtEnd&) = delete;
  LastErrorAtEnd& operator=(const LastErrorAtEnd&) = delete;
  /// Takes the last error as it stands now.
  void take() { error_ = GetLastError(); }

 private:
  DWORD error_ = ERROR_SUCCESS;
};

FileChangeState stateOfNotice(unsigned long action) {
  if (action == kAdded) return eFileChange_Created;
  return action == kRemoved || action == kRenamedFrom ? eFileChange_Deleted : eFileChange_Changed;
}

}  // namespace

WGO_DirectoryChanges::WGO_DirectoryChanges() = default;
WGO_DirectoryChanges::~WGO_DirectoryChanges() = default;

WGO_DirectoryChanges::WGO_DirectoryChanges(WGO_DirectoryChanges&& other) noexcept {
  *this = std::move(other);
}

WGO_DirectoryChanges& WGO_DirectoryChanges::operator=(WGO_DirectoryChanges&& other) noexcept {
  if (this == &other) return *this;
  directory_ = std::move(other.directory_);
  first_ = std::move(other.first_);
  second_ = std::move(other.second_);
  filter_ = std::move(other.filter_);
  changes_ = std::move(other.changes_);
  other.reset();
  return *this;
}

void WGO_DirectoryChanges::reset() {
  directory_.clear();
  first_.clear();
  second_.clear();
  filter_.reset();
  changes_.clear();
}

int WGO_DirectoryChanges::init(const wchar_t* directory, const WGO_FileFilter* filter, bool withSubdirectories) {
  LastErrorAtEnd lastError;
  reset();
  if (directory != nullptr) directory_ = directory;
  if (filter != nullptr) filter_ = std::make_unique<WGO_FileFilter>(*filter);
  if (WGO_isBlockedUpload()) return 1;
  const CTimeTrace timer(1, kInit, 1, false, true);
  const LogFrame frame(kInit);
  const int count = WGO_getFilesFromDirectory(directory_.c_str(), first_, filter_.get(), withSubdirectories);
  lastError.take();
  return count;
}

const std::vector<WGO_FileCompareInfo>& WGO_DirectoryChanges::resume(bool withSubdirectories) {
  LastErrorAtEnd lastError;
  changes_.clear();
  if (WGO_isBlockedUpload()) return changes_;
  const CTimeTrace timer(1, kResume, 1, false, true);
  const LogFrame frame(kResume);
  // On top of what the last look saw, as the header tells.
  WGO_getFilesFromDirectory(directory_.c_str(), second_, filter_.get(), withSubdirectories);
  lastError.take();
  WGO_getDirectoryChanges(first_, second_, changes_);
  return changes_;
}

const std::vector<WGO_FileCompareInfo>& WGO_DirectoryChanges::resumeNoCompare() {
  return changes_;
}

void WGO_DirectoryChanges::update(const std::wstring& fullPath, unsigned long action) {
  if (fullPath.find(L'\\') == std::wstring::npos) return;
  std::wstring projectDirectory;
  make_prj_dir(get_ActivePrj(), projectDirectory);
  const std::wstring relative = fullPath.substr(projectDirectory.size() + 1);
  if (filter_ && filter_->IsFileOrDirectoryExcluded(relative.c_str())) return;
  // A copy: the path may be that of the record that goes.
  WGO_FileCompareInfo change(fullPath, WIN32_FIND_DATAW(), WIN32_FIND_DATAW());
  change.state = stateOfNotice(action);
  const auto same = std::find_if(changes_.begin(), changes_.end(), [&](const WGO_FileCompareInfo& earlier) {
    return earlier.fileName == change.fileName;
  });
  if (same != changes_.end()) changes_.erase(same);
  changes_.push_back(std::move(change));
}

const DirectorySnapshot& WGO_DirectoryChanges::getFilesMap() const {
  return first_;
}

void WGO_DirectoryChanges::dump(const std::vector<WGO_FileCompareInfo>& changes) const {
  for (const WGO_FileCompareInfo& change : changes) {
    if (change.state == eFileChange_Created) ConnectionLogger::traceFmt(1, L"%s [created]\n", change.fileName);
    if (change.state == eFileChange_Changed) ConnectionLogger::traceFmt(1, L"%s [changed]\n", change.fileName);
    if (change.state == eFileChange_Deleted) ConnectionLogger::traceFmt(1, L"%s [deleted]\n", change.fileName);
  }
}

}  // namespace Quorvel::FileAccess
