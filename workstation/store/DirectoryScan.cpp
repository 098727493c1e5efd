#include "workstation/store/DirectoryScan.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <iterator>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace workstation {

namespace {

constexpr unsigned kMostThreads = 4;

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Whether a name surely is a safe one, for which most names are plain enough. The names of devices are short.
bool isPlain(std::string_view name) {
  constexpr std::size_t kLongestDevice = 4;
  constexpr std::size_t kSurelyShort = 60;
  const auto isPlainCharacter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.';
  };
  const std::size_t stem = std::min(name.find('.'), name.size());
  return stem > kLongestDevice && name.size() <= kSurelyShort && name.back() != '.' &&
         std::all_of(name.begin(), name.end(), isPlainCharacter);
}

bool isSafe(std::string_view name) {
  if (isPlain(name)) return true;
  return name.find('\\') == std::string_view::npos && platform::isValidUtf8(name) &&
         platform::isSafeRelativeName(platform::fromUtf8(name));
}

bool isTooLong(std::string_view relative) {
  constexpr std::size_t kLongest = 259;
  return relative.size() > kLongest && !platform::isSafeRelativeName(platform::fromUtf8(relative));
}

/// Directories are handed out to the threads as they are found.
class Scan {
 public:
  Scan(std::string root, const std::function<bool(std::string_view)>& isLeftOut)
      : root_(std::move(root)), isLeftOut_(isLeftOut) {}

  DirectoryScan run() {
    waiting_.emplace_back();
    std::vector<std::jthread> helpers;
    const unsigned threads = std::clamp(std::thread::hardware_concurrency(), 1U, kMostThreads);
    for (unsigned i = 1; i < threads; ++i) helpers.emplace_back([this] { work(); });
    work();
    helpers.clear();
    return std::move(result_);
  }

 private:
  struct Found {
    std::vector<ScannedFile> files;
    std::vector<std::string> directories;
    std::vector<std::wstring> passedOver;
  };

  void work() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return !waiting_.empty() || busy_ == 0; });
      if (waiting_.empty()) return;
      const std::string directory = std::move(waiting_.back());
      waiting_.pop_back();
      ++busy_;
      lock.unlock();
      Found found;
      const std::wstring failure = read(directory, found);
      lock.lock();
      --busy_;
      const auto append = [](auto& to, auto& from) {
        to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
      };
      append(result_.files, found.files);
      append(result_.passedOver, found.passedOver);
      append(waiting_, found.directories);
      if (result_.failure.empty()) result_.failure = failure;
      changed_.notify_all();
    }
  }

  std::wstring failed(const std::string& directory, int code) const {
    return L"\"" + platform::fromUtf8(root_ + "/" + directory) + L"\" can't be read: " +
           platform::fromUtf8(std::generic_category().message(code));
  }

  /// @param directory  relative, with backslashes; empty for the root
  std::wstring read(const std::string& directory, Found& found) const {
    std::string path = directory;
    std::replace(path.begin(), path.end(), '\\', '/');
    path = path.empty() ? root_ : root_ + "/" + path;
    const int noLink = directory.empty() ? 0 : O_NOFOLLOW;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | noLink);  // NOLINT(*-vararg)
    if (descriptor < 0) {
      // One below that went away since its parent was read is no failure.
      const bool isGone = !directory.empty() && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP);
      return isGone ? std::wstring() : failed(directory, errno);
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(descriptor), &::closedir);
    if (stream == nullptr) {
      const int code = errno;
      ::close(descriptor);
      return failed(directory, code);
    }
    const std::string prefix = directory.empty() ? directory : directory + '\\';
    const std::string keyPrefix = keyOfName(prefix);
    for (;;) {
      errno = 0;
      const dirent* const entry = ::readdir(stream.get());  // NOLINT(concurrency-mt-unsafe): own stream
      if (entry == nullptr) return errno == 0 ? std::wstring() : failed(directory, errno);
      const std::string_view name(entry->d_name);  // NOLINT(*-array-to-pointer-decay)
      if (name == "." || name == "..") continue;
      if (!take(descriptor, *entry, prefix, keyPrefix, found)) return failed(directory, errno);
    }
  }

  /// @return false, with errno, when the entry can't be looked at
  bool take(int descriptor, const dirent& entry, const std::string& prefix, const std::string& keyPrefix,
            Found& found) const {
    const std::string_view name(entry.d_name);  // NOLINT(*-array-to-pointer-decay)
    bool isDirectory = entry.d_type == DT_DIR;
    struct stat status = {};
    if (!isDirectory) {
      if (entry.d_type != DT_REG && entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return true;
      if (::fstatat(descriptor, name.data(), &status, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT;
      isDirectory = S_ISDIR(status.st_mode);
      if (S_ISLNK(status.st_mode)) {
        const bool leadsNowhere = ::fstatat(descriptor, name.data(), &status, 0) != 0;
        if (leadsNowhere && errno != ENOENT && errno != ELOOP && errno != ENOTDIR) return false;
        if (leadsNowhere) return true;
      }
      if (!isDirectory && !S_ISREG(status.st_mode)) return true;
    }
    std::string relative = prefix + std::string(name);
    if (!isSafe(name) || isTooLong(relative)) {
      found.passedOver.push_back(platform::fromUtf8(relative));
      return true;
    }
    std::string key = keyPrefix + keyOfName(name);
    if (isDirectory) {
      if (!isLeftOut_(key)) found.directories.push_back(std::move(relative));
      return true;
    }
    const FILETIME modified = platform::fromUnixTime(status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    found.files.push_back({std::move(relative), std::move(key), static_cast<std::int64_t>(status.st_size),
                           static_cast<std::int64_t>(platform::toTicks(modified))});
    return true;
  }

  const std::string root_;
  const std::function<bool(std::string_view)>& isLeftOut_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> waiting_;
  unsigned busy_ = 0;
  DirectoryScan result_;
};

}  // namespace

std::string keyOfName(std::string_view name) {
  if (!isAscii(name)) return platform::toUtf8(platform::toLower(platform::fromUtf8(name)));
  std::string key(name);
  for (char& c : key) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return key;
}

DirectoryScan scanDirectory(const std::string& path, const std::function<bool(std::string_view key)>& isLeftOut) {
  return Scan(path, isLeftOut).run();
}

}  // namespace workstation
