// Listings of the server: one directory, or a tree of them.
#include <algorithm>
#include <iterator>

#include "core/LastError.h"
#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "host/Trace.h"
#include "toolkit/FtpListing.h"
#include "zephor/Progress.h"
#include "zephor/Projects.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kEverything = L"*";
/// Deeper trees are taken for links that lead in a circle.
constexpr std::size_t kDeepestDirectory = 100;

void dropExcluded(std::vector<RemoteFileEntry>& entries, const WGO_ListOptions* options) {
  if (options == nullptr || !options->excludes) return;
  std::erase_if(entries, [options](const RemoteFileEntry& entry) { return options->excludes(entry.name); });
}

std::size_t depthOf(const std::wstring& relative) {
  return static_cast<std::size_t>(std::count(relative.begin(), relative.end(), L'/')) + 1;
}

}  // namespace

RemoteStatus CZepFtpConnection::listTree(const std::wstring& root, bool recursive, IProgress* progress,
                                         const TreeVisitor& visit) {
  std::vector<std::wstring> waiting = {std::wstring()};
  while (!waiting.empty()) {
    const std::wstring relative = std::move(waiting.back());
    waiting.pop_back();
    const std::wstring directory = joinServerPath(root, relative);
    if (progress != nullptr) progress->setText(L"query directory files: ftp:" + urlOf(directory, L""));
    std::vector<RemoteFileEntry> files;
    std::vector<RemoteFileEntry> directories;
    const RemoteStatus status = retry(
        {[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
         [&](RemoteRetryContext& context) { return remote_.getEntries(context, kEverything, &files, &directories); }});
    if (status.failed && status.error == ERROR_PATH_NOT_FOUND && !relative.empty()) {
      lfperrC(L"%s: %s is gone or closed to this user\n", L"Quorvel::FileAccess::CZepFtpConnection::listTree",
              urlOf(directory, L""));
      continue;
    }
    if (!status.isSuccess()) return status;
    visit(relative, files, directories);
    if (!recursive) break;
    if (depthOf(relative) >= kDeepestDirectory) return {.failed = true, .error = ERROR_FILENAME_EXCED_RANGE};
    // The first directory of the listing is to be read next.
    for (auto entry = directories.rbegin(); entry != directories.rend(); ++entry) {
      waiting.push_back(joinServerPath(relative, entry->name));
    }
  }
  return {};
}

DWORD CZepFtpConnection::getServerFileInfos(const wchar_t* directory, const wchar_t* pattern,
                                            std::vector<RemoteFileEntry>& out, const WGO_ListOptions* options) {
  if (!initialised_ || directory == nullptr) return answered(ERROR_INVALID_DATA);
  out.clear();
  const std::wstring root = directory;
  const std::wstring wanted = pattern != nullptr && *pattern != L'\0' ? pattern : kEverything;
  const CTimeTrace timer(timeTraceLevel(), L"query directory files: \"" + urlOf(root, wanted), 1, false, true);
  RemoteStatus status;
  if (options != nullptr && options->recursive) {
    status = listTree(root, true, options->progress,
                      [&](const std::wstring& relative, std::vector<RemoteFileEntry>& files,
                          std::vector<RemoteFileEntry>& /*directories*/) {
                        for (RemoteFileEntry& entry : files) {
                          if (!matchesPattern(entry.name, wanted)) continue;
                          entry.name = joinServerPath(relative, entry.name);
                          out.push_back(std::move(entry));
                        }
                      });
  } else {
    if (options != nullptr && options->progress != nullptr) {
      options->progress->setText(L"query directory files: ftp:" + urlOf(root, L""));
    }
    status = retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, root); },
                    [&](RemoteRetryContext& context) { return remote_.getFileInfos(context, wanted, out); }});
  }
  if (!status.isSuccess()) out.clear();
  dropExcluded(out, options);
  return answered(codeOf(status));
}

DWORD CZepFtpConnection::getServerFileNames(const wchar_t* directory, const wchar_t* pattern,
                                            std::vector<std::wstring>& out, const WGO_ListOptions* options) {
  if (!initialised_ || directory == nullptr) return answered(ERROR_INVALID_DATA);
  std::vector<RemoteFileEntry> entries;
  const DWORD code = getServerFileInfos(directory, pattern, entries, options);
  out.clear();
  out.reserve(entries.size());
  for (RemoteFileEntry& entry : entries) out.push_back(std::move(entry.name));
  return code;
}

DWORD CZepFtpConnection::getServerFiles(const wchar_t* directory, std::vector<RemoteFileEntry>& out) {
  return getServerFileInfos(directory, kEverything, out, nullptr);
}

bool CZepFtpConnection::getServerDirectories(const wchar_t* directory, int mode, std::vector<std::wstring>& out) {
  if (!initialised_ || directory == nullptr) return false;
  out.clear();
  const CTimeTrace timer(timeTraceLevel(), L"query directories: \"" + urlOf(directory, L""), 1, false, true);
  const RemoteStatus status = listTree(directory, mode != 0, nullptr,
                                       [&out](const std::wstring& relative, std::vector<RemoteFileEntry>& /*files*/,
                                              std::vector<RemoteFileEntry>& directories) {
                                         for (const RemoteFileEntry& entry : directories) {
                                           out.push_back(joinServerPath(relative, entry.name));
                                         }
                                       });
  if (!status.isSuccess()) out.clear();
  return status.isSuccess();
}

DWORD CZepFtpConnection::getProjectDirectories(const wchar_t* project, std::vector<WIN32_FIND_DATAW>& out) {
  if (!initialised_) return answered(ERROR_INVALID_DATA);
  out.clear();
  const int projects = eServerPrjPath;
  const bool isOne = project != nullptr && *project != L'\0';
  const std::wstring directory =
      serverDirectoryOf(&projects, isOne ? WGO_BuildProjectDirectoryName(project).c_str() : nullptr);
  std::vector<RemoteFileEntry> entries;
  const RemoteStatus status =
      retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
             [&](RemoteRetryContext& context) { return remote_.getDirectoryInfos(context, entries); }});
  if (!status.isSuccess()) return answered(codeOf(status));
  for (const RemoteFileEntry& entry : entries) {
    WIN32_FIND_DATAW data{};
    if (entry.name.size() >= std::size(data.cFileName)) continue;
    data.dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
    data.ftCreationTime = data.ftLastAccessTime = data.ftLastWriteTime = entry.time;
    std::copy(entry.name.begin(), entry.name.end(), std::begin(data.cFileName));
    out.push_back(data);
  }
  return ERROR_SUCCESS;
}

}  // namespace Quorvel::FileAccess
