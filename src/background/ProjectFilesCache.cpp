#include "background/ProjectFilesCache.h"

#include <algorithm>
#include <mutex>

#include "cloud/CacheNames.h"
#include "cloud/CloudPaths.h"
#include "host/Trace.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::uint64_t kMostBytes = 64ULL << 20;
constexpr const char* kFormat = "zephor project files 1";
constexpr const char* kEnd = "end ";

/// UTF-8 without what parts lines and fields.
std::string field(const std::wstring& text) {
  std::string bytes = platform::toUtf8(text);
  std::replace_if(
      bytes.begin(), bytes.end(), [](char c) { return c >= 0 && c < ' '; }, ' ');
  return bytes;
}

/// The dates, and the texts behind them: a date has whole seconds only, and a file can change twice in one.
std::string stampOf(const CResourceInfo& record) {
  return field(record.text2 + L"|" + record.text3 + L"|" + record.text4 + L"|" + record.text5) + "|" +
         std::to_string(platform::toTicks(record.createdTime)) + "|" +
         std::to_string(platform::toTicks(record.modifiedTime));
}

}  // namespace

std::wstring keyOfProjectFile(const std::wstring& relativeName) {
  const std::wstring name = platform::toLower(withBackslashes(relativeName));
  return name.substr(std::min(name.find_first_not_of(L'\\'), name.size()));
}

ProjectFilesCache::ProjectFilesCache(const std::wstring& directory)
    : path_(projectFilesRecord(directory)),
      head_(std::string(kFormat) + '\t' + field(platform::toLower(platform::fileNameOf(directory))) + '\t' +
            std::to_string(platform::toTicks(platform::fileStatus(directory).creationTime))) {}

ProjectFilesCache ProjectFilesCache::read(const std::wstring& directory) {
  ProjectFilesCache cache(directory);
  std::string content;
  const DWORD error = platform::readWholeFile(cache.path_, content, kMostBytes);
  const bool isMissing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
  if (!isMissing && (error != ERROR_SUCCESS || !cache.parse(content))) {
    lfperrC(L"%s: %s is not what this project's directory was given (error %lu); its files count as not in step\n",
            L"Quorvel::FileAccess::ProjectFilesCache::read", cache.path_, error);
    cache.stamps_.clear();
  }
  return cache;
}

void ProjectFilesCache::edit(const std::wstring& directory, const std::function<void(ProjectFilesCache&)>& change) {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  ProjectFilesCache cache = read(directory);
  const auto before = cache.stamps_;
  change(cache);
  if (cache.stamps_ == before) return;
  std::vector<std::wstring> fresh;
  for (const auto& [key, stamp] : cache.stamps_) {
    const auto known = before.find(key);
    if (known == before.end() || known->second != stamp) fresh.push_back(platform::fromUtf8(key));
  }
  // An empty file in the place of one that is noted would never come again.
  if (const DWORD error = platform::makeDurable(directory, fresh)) {
    lfperrC(L"%s: files could not be synced (error %lu) and count as not in step\n", directory, error);
    return;
  }
  const std::string content = cache.content();
  const DWORD error = content.size() > kMostBytes
                          ? DWORD{ERROR_BAD_LENGTH}
                          : platform::writeFileAtomically(cache.path_, content.data(), content.size());
  if (error != ERROR_SUCCESS) {
    lfperrC(L"%s: %s could not be written (error %lu)\n", L"Quorvel::FileAccess::ProjectFilesCache::edit", cache.path_,
            error);
  }
}

bool ProjectFilesCache::has(const std::wstring& key, const CResourceInfo& record) const {
  const auto found = stamps_.find(field(key));
  return found != stamps_.end() && found->second == stampOf(record);
}

void ProjectFilesCache::put(const std::wstring& key, const CResourceInfo& record) {
  stamps_.insert_or_assign(field(key), stampOf(record));
}

void ProjectFilesCache::forget(const std::wstring& key) {
  stamps_.erase(field(key));
}

/// @return false for anything but a whole file of this directory
bool ProjectFilesCache::parse(const std::string& content) {
  std::size_t begin = 0;
  for (bool isHead = true;; isHead = false) {
    const std::size_t end = content.find('\n', begin);
    if (end == std::string::npos) return false;
    const std::string line = content.substr(begin, end - begin);
    begin = end + 1;
    if (isHead) {
      if (line != head_) return false;
      continue;
    }
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos) return begin == content.size() && line == kEnd + std::to_string(stamps_.size());
    if (tab == 0 || !stamps_.emplace(line.substr(0, tab), line.substr(tab + 1)).second) return false;
  }
}

std::string ProjectFilesCache::content() const {
  std::string text = head_ + '\n';
  for (const auto& [key, stamp] : stamps_) text.append(key).append(1, '\t').append(stamp).append(1, '\n');
  return text + kEnd + std::to_string(stamps_.size()) + '\n';
}

}  // namespace Quorvel::FileAccess
