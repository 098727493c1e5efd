#include "workstation/program/ServerTree.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/Servers.h"
#include "workstation/program/ServerPaths.h"
#include "workstation/program/ServerSession.h"
#include "zephor/ServerStore.h"

namespace workstation::program {

namespace {

namespace fs = std::filesystem;
using Quorvel::FileAccess::RemoteFileEntry;
using Quorvel::FileAccess::ServerTreeFile;
using Names = std::set<std::wstring, IgnoreCaseLess>;

constexpr std::size_t kFetchingLength = std::char_traits<wchar_t>::length(kFetchingSuffix);
constexpr std::size_t kSendingLength = std::char_traits<wchar_t>::length(kSendingSuffix);

bool endsWith(const std::wstring& name, const wchar_t* suffix) {
  return name.size() > std::char_traits<wchar_t>::length(suffix) && platform::endsWithIgnoreCase(name, suffix);
}

/// The lock of an object says who works on it at the server. Copied and sent back it would be one that nobody holds.
bool isLockFile(const TreeFile& file) {
  const std::size_t parent = file.directory.rfind(L'/');
  const auto directory = file.directory.substr(parent == std::wstring::npos ? 0 : parent + 1);
  return platform::equalsIgnoreCase(directory, L"Lck") && endsWith(file.name, L".lck");
}

/// Ends a listing.
void complete(Tree& tree) {
  std::erase_if(tree.files, isLockFile);
  std::sort(tree.files.begin(), tree.files.end(), [](const TreeFile& a, const TreeFile& b) {
    return a.directory != b.directory ? a.directory < b.directory : a.name < b.name;
  });
  std::sort(tree.directories.begin(), tree.directories.end());
}

/// Takes what a server says for what can be here. Two names that differ in letter case only would be one file.
class ServerTreeReader {
 public:
  explicit ServerTreeReader(Tree& out) : out_(out) {}

  void addDirectory(const std::wstring& path) {
    const ServerPath place{path};
    const std::wstring parent = place.directory();
    const bool hasParent = parent.empty() || directories_.contains(parent);
    if (hasParent && isUsableHere(parent, place.name()) && directories_.insert(path).second) {
      out_.directories.push_back(path);
    } else {
      passOver(path + L"/");
    }
  }
  void addFile(const std::wstring& directory, const RemoteFileEntry& entry) {
    const std::wstring path = joinServerPath(directory, entry.name);
    const bool hasDirectory = directory.empty() || directories_.contains(directory);
    if (hasDirectory && isUsableHere(directory, entry.name) && names_.insert(path).second) {
      out_.files.push_back({directory, entry.name, entry.size, entry.time, false});
    } else {
      passOver(path);
    }
  }

 private:
  void passOver(const std::wstring& path) {
    out_.passedOver.push_back(path + L": passed over, no file of this workstation can have that name");
  }

  Tree& out_;
  Names directories_;
  Names names_;
};

/// A name like that is no sign by itself; beside the file that was to be replaced it is.
bool isLeftOfFetch(const std::wstring& name, const Names& names) {
  return endsWith(name, kFetchingSuffix) && names.contains(name.substr(0, name.size() - kFetchingLength));
}

/// Sorts what transfers leave behind from the files of a directory.
void addLocalFiles(std::vector<TreeFile> files, Tree& out) {
  Names names;
  for (const TreeFile& file : files) names.insert(file.name);
  Names sending;
  const std::size_t begin = out.files.size();
  for (TreeFile& file : files) {
    const bool isCopy = endsWith(file.name, kSendingSuffix);
    const std::wstring original = isCopy ? file.name.substr(0, file.name.size() - kSendingLength) : std::wstring();
    if (isCopy && names.contains(original)) {
      sending.insert(original);
    } else if (isLeftOfFetch(file.name, names)) {
      out.passedOver.push_back(file.path() + L": passed over, it is left by a transfer that was interrupted");
    } else {
      out.files.push_back(std::move(file));
    }
  }
  for (std::size_t i = begin; i < out.files.size(); ++i) {
    out.files[i].interrupted = sending.contains(out.files[i].name);
  }
}

class LocalTreeReader {
 public:
  LocalTreeReader(fs::path root, bool recursive, Tree& out)
      : root_(std::move(root)), recursive_(recursive), out_(out) {}

  void read(const std::wstring& directory) {
    const fs::path path = root_ / platform::toUtf8(directory);
    std::error_code problem;
    fs::directory_iterator entry(path, problem);
    if (problem) {
      throw CommandFailure{ExitCode::Failure, platform::fromUtf8(path.string()) + L" can't be read: " +
                                                  platform::fromUtf8(problem.message())};
    }
    std::vector<TreeFile> files;
    std::vector<std::wstring> below;
    for (; entry != fs::directory_iterator(); entry.increment(problem)) take(*entry, directory, files, below);
    if (!files.empty()) addLocalFiles(std::move(files), out_);
    std::sort(below.begin(), below.end());
    for (const std::wstring& name : below) {
      out_.directories.push_back(name);
      read(name);
    }
  }

 private:
  void take(const fs::directory_entry& entry, const std::wstring& directory, std::vector<TreeFile>& files,
            std::vector<std::wstring>& below) {
    const std::string bytes = entry.path().filename().string();
    const std::wstring name = platform::fromUtf8(bytes);
    const std::wstring path = joinServerPath(directory, name);
    std::error_code problem;
    const bool isUsable = platform::isValidUtf8(bytes) && isUsableHere(directory, name);
    if (entry.is_directory(problem)) {
      if (!recursive_) return;
      if (!isUsable || entry.is_symlink(problem)) return passOver(path + L"/", isUsable);
      below.push_back(path);
    } else if (!isUsable || !entry.is_regular_file(problem)) {
      passOver(path, isUsable);
    } else {
      const platform::FileStatus status = platform::fileStatus(platform::libraryPath(entry.path().string()));
      files.push_back({directory, name, static_cast<std::int64_t>(status.size), status.writeTime, false});
    }
  }
  void passOver(const std::wstring& path, bool isUsable) {
    out_.passedOver.push_back(path + (isUsable ? L": passed over, it is no file of this directory"
                                               : L": passed over, not every workstation can hold such a name"));
  }

  fs::path root_;
  bool recursive_;
  Tree& out_;
};

}  // namespace

unsigned long listServerTree(ServerSession& session, const std::wstring& directory, bool recursive, Tree& out) {
  const std::wstring path = session.serverPath(directory);
  std::vector<ServerTreeFile> files;
  std::vector<std::wstring> directories;
  unsigned long result = 0;
  if (recursive) {
    result = Quorvel::FileAccess::WGO_listServerTree(path.c_str(), files, directories);
  } else {
    std::vector<RemoteFileEntry> entries;
    result = session.transfer().getServerFileInfos(path.c_str(), L"*", entries, nullptr);
    for (RemoteFileEntry& entry : entries) files.push_back({{}, std::move(entry)});
  }
  if (result != 0) return result;
  ServerTreeReader reader(out);
  std::sort(directories.begin(), directories.end());
  for (const std::wstring& each : directories) reader.addDirectory(each);
  for (const ServerTreeFile& file : files) reader.addFile(file.directory, file.entry);
  complete(out);
  return 0;
}

void listLocalTree(const std::string& directory, bool recursive, Tree& out) {
  LocalTreeReader(directory, recursive, out).read({});
  complete(out);
}

}  // namespace workstation::program
