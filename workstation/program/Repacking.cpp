#include "workstation/program/Repacking.h"

#include <sys/types.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <vector>

#include "host/Files.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/objects/BlockFile.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/program/Arguments.h"
#include "workstation/store/CloudStore.h"
#include "workstation/store/Replacement.h"
#include "zephor/Archives.h"

namespace workstation::program {

namespace {

/// The library reads and writes a file in one piece whose size has 32 bits.
constexpr std::uint64_t kLargestFile = 0xFFFFFFFF;

constexpr DWORD kToolkitFailure = 0xFFFFFFFF;

/// A directory for the copy, removed with what is in it.
class WorkDirectory {
 public:
  explicit WorkDirectory(std::wstring path) : path_(std::move(path)) {}
  ~WorkDirectory() { platform::removeTree(path_); }
  WorkDirectory(const WorkDirectory&) = delete;
  WorkDirectory& operator=(const WorkDirectory&) = delete;
  /// Nobody else may look into it: the drawing may be a private one.
  bool make() const {
    namespace fs = std::filesystem;
    if (CreateDirectoryW(path_.c_str(), nullptr) == FALSE) return false;
    std::error_code ignored;
    fs::permissions(platform::systemPath(path_), fs::perms::owner_all, ignored);
    return true;
  }
  /// The copy keeps the name, by which the library knows kind and number.
  std::wstring pathOf(const std::wstring& original) const {
    return platform::joinPath(path_, platform::fileNameOf(original));
  }

 private:
  std::wstring path_;
};

/// Whether a name of temporaryBeside is that of an object and of a process that is gone.
bool isOrphan(const std::string& name) {
  constexpr std::string_view kEnding = ".part";
  if (!name.ends_with(kEnding)) return false;
  const std::string stem = name.substr(0, name.size() - kEnding.size());
  const std::size_t at = stem.rfind('.') + 1;
  if (at == 0) return false;
  pid_t process = 0;
  const auto [end, error] = std::from_chars(stem.data() + at, stem.data() + stem.size(), process);
  const bool isOne = error == std::errc() && end != stem.data() + stem.size() && *end == '-' && process > 0 &&
                     parseObjectFileName(platform::fromUtf8(stem.substr(0, at - 1)));
  return isOne && ::kill(process, 0) != 0 && errno == ESRCH;
}

/// Removes what killed runs have left: drawings that nobody but their user may see, and much of the disk.
void removeOrphans(const std::wstring& temporary) {
  namespace fs = std::filesystem;
  std::error_code error;
  std::vector<fs::path> orphans;
  for (fs::directory_iterator entry(platform::systemPath(temporary), error);
       !error && entry != fs::directory_iterator(); entry.increment(error)) {
    if (isOrphan(entry->path().filename().string())) orphans.push_back(entry->path());
  }
  for (const fs::path& orphan : orphans) fs::remove_all(orphan, error);
}

/// Name of a new directory for the copy. Objects of the open project are worked on outside of it, so that a copy that a
/// crash leaves behind is never taken for one of the project's files.
std::wstring workPlaceOf(const std::wstring& path, const std::wstring& file) {
  const std::wstring project = lfinigC(1);
  if (project.empty() || !path.starts_with(project)) return temporaryBeside(file);
  const std::wstring temporary = ZSYST_GetQuorvelFolderByTag(L"TMP");
  SHCreateDirectoryExW(nullptr, temporary.c_str(), nullptr);
  static std::once_flag swept;
  std::call_once(swept, removeOrphans, temporary);
  return temporaryBeside(platform::joinPath(temporary, platform::fileNameOf(file)));
}

std::wstring withError(const wchar_t* problem, DWORD code) {
  // The library's toolkit fails without a code.
  if (code == kToolkitFailure) return std::wstring(problem) + L": the archive can't be read or made";
  return platform::formatWide(L"%s (error %u)", problem, code);
}

bool isWritable(const std::wstring& path) {
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

/// What stands against it; empty when nothing does.
std::wstring objection(const std::wstring& path, const ObjectFileInfo& info) {
  if (info.type != eFileType_Teilbild) return L"is a Plan or a Zeichnung; only Teilbilder can be compressed";
  const auto name = parseObjectFileName(platform::fileNameOf(path));
  if (!name || name->type != eFileType_Teilbild)
    return L"is a Teilbild under another name; expected a name such as tb000012.zdw";
  if (info.fileSize > kLargestFile || info.expandedSize > kLargestFile)
    return L"is too large; only Teilbilder of less than 4 GiB can be compressed";
  return {};
}

/// Lets the library work on a copy and checks what it made.
std::wstring repackCopy(const std::wstring& path, const std::wstring& copy, Packing wanted) {
  if (CopyFileW(path.c_str(), copy.c_str(), TRUE) == FALSE) return withError(L"can't be copied", GetLastError());
  const unsigned long code = wanted == Packing::Compressed ? Quorvel::FileAccess::WGO_zipProjectFile(copy)
                                                           : Quorvel::FileAccess::WGO_unzipProjectFile(copy);
  if (code != ERROR_SUCCESS)
    return withError(wanted == Packing::Compressed ? L"can't be compressed" : L"can't be expanded",
                     static_cast<DWORD>(code));
  std::wstring error;
  ObjectFileInfo info;
  if (readObjectHeader(copy, info, error) != ERROR_SUCCESS || verifyObject(copy, error) != ERROR_SUCCESS)
    return L"what was made of it is damaged and was thrown away: " + withoutPath(error, copy);
  if (info.compressed != (wanted == Packing::Compressed)) return L"was left as it is by the library";
  return {};
}

/// Puts the copy into the file's place.
std::wstring takePlace(const std::wstring& copy, const std::wstring& path, const FileContent& judged) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  fs::permissions(platform::systemPath(copy), fs::status(platform::systemPath(path), ignored).permissions(), ignored);
  const CloudStatus status = replaceUnchanged(copy, path, judged);
  if (status == kStoreOk) return {};
  return status == kStoreChanged ? L"changed meanwhile and was left as it is; try again" : CloudStore::lastText();
}

}  // namespace

Repacked repack(const std::wstring& path, Packing wanted, bool dryRun) {
  const std::wstring file = platform::weaklyCanonical(path);
  const platform::FileStatus before = platform::fileStatus(file);
  const FileContent judged{
      static_cast<std::int64_t>(before.size), static_cast<std::int64_t>(platform::toTicks(before.writeTime)), {}};
  Repacked result;
  ObjectFileInfo info;
  const auto fail = [&](const std::wstring& problem) {
    const bool isGone = before.exists && !platform::fileStatus(file).exists;
    result.problem = isGone ? L"changed meanwhile: it is not here any more" : withoutPath(problem, file);
    return result;
  };
  std::wstring error;
  if (readObjectHeader(file, info, error) != ERROR_SUCCESS) return fail(error);
  result.before = info.fileSize;
  if (const std::wstring reason = objection(file, info); !reason.empty()) return fail(reason);
  if (info.compressed == (wanted == Packing::Compressed)) return result;
  if (verifyObject(file, error) != ERROR_SUCCESS) return fail(error);
  if (!isWritable(file)) return fail(withError(L"can't be changed", GetLastError()));
  if (!dryRun) {
    const WorkDirectory directory(workPlaceOf(path, file));
    if (!directory.make()) return fail(withError(L"no directory can be made for a copy", GetLastError()));
    const std::wstring copy = directory.pathOf(file);
    std::wstring problem = repackCopy(file, copy, wanted);
    result.after = platform::fileStatus(copy).size;
    if (problem.empty()) problem = takePlace(copy, file, judged);
    if (!problem.empty()) return fail(problem);
  }
  result.changed = true;
  return result;
}

}  // namespace workstation::program
