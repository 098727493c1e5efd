// What the server has beside what it should have.
#include <set>

#include "cloud/CloudCall.h"
#include "cloud/ProjectCache.h"
#include "host/System.h"
#include "host/UserMessages.h"
#include "zephor/ProjectCache.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kCheckingFilesTextId = 2500481;
constexpr const wchar_t* kListingFailed = L"%s: listing the files of \"%s\" failed with 0x%08lx.\n";

std::wstring withoutLeadingSeparator(const std::wstring& text) {
  return text.starts_with(L'\\') ? text.substr(1) : text;
}

/// The name as the server's list would have it, in lower case.
std::wstring keyOf(const std::wstring& path, const std::wstring& directory) {
  const bool isBelow = !directory.empty() && platform::startsWithIgnoreCase(path, directory);
  return platform::toLower(withoutLeadingSeparator(isBelow ? path.substr(directory.size()) : path));
}

CloudStatus listKind(const CloudCall& call, int kind, std::vector<std::wstring>& names) {
  names.clear();
  return call.run(kListingFailed, call.project(), [&](ICloudProjectService& service, const std::wstring& project) {
    return service.GetQuorvelProjectResourceFiles(project, names, kind);
  });
}

}  // namespace

bool Ondrath_IsProjectEmpty(const PRJ& prj) {
  if (!prj.IsOndrathProject()) return false;
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_IsProjectEmpty", prj);
  std::vector<std::wstring> names;
  // A server that does not answer says nothing about its files.
  return listKind(call, kCloudKindOrdinary, names) == 0 && names.empty();
}

bool Ondrath_CompareServerFilesWithLocalFiles(const PRJ& prj, const std::wstring& localDirectory,
                                              const std::vector<std::wstring>& expected,
                                              std::vector<std::wstring>& missing, bool /*flag*/) {
  missing.clear();
  const CloudCall call(L"Quorvel::FileAccess::Ondrath_CompareServerFilesWithLocalFiles", prj);
  if (!call.requireCloudProject()) return false;
  const CScopedDisplayInfo display(CQuoString().GetQuorvotParText(kCheckingFilesTextId, nullptr, 0, 256).text());
  std::set<std::wstring> onServer;
  for (const int kind : {kCloudKindOrdinary, kCloudKindBim, kCloudKindPlan}) {
    std::vector<std::wstring> names;
    // Of a list that did not come nothing is known to be there: its files count as missing.
    if (listKind(call, kind, names) != 0) continue;
    for (const std::wstring& name : names) onServer.insert(keyOf(name, {}));
  }
  for (const std::wstring& file : expected) {
    if (!onServer.contains(keyOf(file, localDirectory))) missing.push_back(file);
  }
  if (missing.empty()) return true;
  if (getFileAccessTrace() >= 1) {
    std::wstring text = L"Missing files after copy:\n";
    for (const std::wstring& file : missing) text += file + L'\n';
    const CConsoleTrace trace(text, 1);
  }
  return false;
}

bool WGO_compareServerFilesWithLocalFiles(const PRJ& prj, const std::wstring& root,
                                          std::vector<std::wstring>& localFiles, std::vector<std::wstring>& missing,
                                          bool flag) {
  return !prj.IsOndrathProject() || Ondrath_CompareServerFilesWithLocalFiles(prj, root, localFiles, missing, flag);
}

}  // namespace Quorvel::FileAccess
