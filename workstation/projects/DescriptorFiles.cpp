// Descriptor files: "Project1.Dat.xml" in a directory, by path, by path number and by project.

#include "host/Files.h"
#include "host/NetManager.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/projects/DescriptorXml.h"
#include "workstation/projects/ProjectNames.h"
#include "workstation/projects/XmlText.h"

using workstation::textOf;

namespace {

std::wstring descriptorPath(const std::wstring& directory) {
  return platform::joinPath(directory, workstation::kDescriptorFile);
}

/// Keeps a descriptor that can't be read beside the new one. @return false when it could not be kept
bool keepDamaged(const std::wstring& file) {
  return MoveFileExW(file.c_str(), (file + L".damaged").c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

DWORD writeDescriptor(const std::wstring& directory, const PRJ& prj, std::wstring& error) {
  const std::wstring directoryName = textOf(prj.directoryName);
  const std::wstring file = descriptorPath(directory);
  if (!workstation::isSafeDirectoryName(directoryName)) {
    error = platform::formatWide(L"%s: expected the name of one directory, not \"%s\"", file, directoryName);
    return ERROR_INVALID_NAME;
  }
  NetManager::projectInfo info;
  if (platform::fileStatus(file).exists) {
    std::wstring damage;
    const bool isWhole = NetManager::readProject1DatXml(file, info, &damage);
    if (!isWhole && !keepDamaged(file)) {
      error = damage;
      return ERROR_WRITE_FAULT;
    }
  }
  info.fromDescriptor(prj);
  return NetManager::writeProject1DatXml(file, info, &error) ? 0 : ERROR_WRITE_FAULT;
}

int report(DWORD code, const std::wstring& error) {
  const bool isMissing = code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
  if (code != 0 && !isMissing) lfperrC(L"%s\n", error);
  return static_cast<int>(code);
}

}  // namespace

namespace workstation {

DWORD readDescriptor(const std::wstring& directory, PRJ& out, std::wstring& error) {
  const std::wstring file = descriptorPath(directory);
  if (!platform::fileStatus(file).exists) {
    error = platform::formatWide(L"%s: there is no such file", file);
    return ERROR_FILE_NOT_FOUND;
  }
  NetManager::projectInfo info;
  if (!NetManager::readProject1DatXml(file, info, &error)) return ERROR_INVALID_DATA;
  info.toDescriptor(out);
  const std::wstring last = platform::fileNameOf(directory.substr(0, directory.find_last_not_of(L"\\/") + 1));
  const std::wstring directoryName = withoutProjectEnding(last);
  const bool isProjectDirectory = directoryName != last && isSafeDirectoryName(directoryName);
  if (isProjectDirectory && !out.IsOndrathProject()) copyText(out.directoryName, directoryName);
  return 0;
}

}  // namespace workstation

bool NetManager::readProject1DatXml(const std::wstring& file, projectInfo& out, std::wstring* error) {
  projectInfo info;
  std::string text;
  std::wstring problem;
  if (workstation::readXml(file, info.document_->xml, text, problem) == 0) {
    const workstation::DescriptorFault fault = workstation::findDescriptorFault(info.document_->xml);
    if (fault) problem = workstation::placeError(file, text, fault.offset, fault.expected);
  }
  if (problem.empty()) {
    out.document_.swap(info.document_);
    return true;
  }
  if (error != nullptr) *error = problem;
  return false;
}

bool NetManager::writeProject1DatXml(const std::wstring& file, const projectInfo& info, std::wstring* error) {
  std::wstring text;
  const bool isWritten = workstation::writeXml(file, info.document_->xml, text) == 0;
  if (!isWritten && error != nullptr) *error = text;
  return isWritten;
}

std::wstring NetManager::getUserAppDataPath() {
  std::wstring path = platform::environment(L"APPDATA");
  while (path.size() > 1 && (path.back() == L'\\' || path.back() == L'/')) path.pop_back();
  return path;
}

bool NetManager::removeDirectory(const std::wstring& directory) {
  if (platform::fileStatus(directory).exists) ldirrmc(directory);
  return !platform::fileStatus(directory).exists;
}

std::vector<std::wstring> NetManager::getFilesList(const std::wstring& directory, const std::wstring& extension) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW data{};
  const HANDLE find = FindFirstFileW(platform::joinPath(directory, L"*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return names;
  do {
    const bool isFile = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    if (isFile && platform::endsWithIgnoreCase(data.cFileName, extension)) names.emplace_back(data.cFileName);
  } while (FindNextFileW(find, &data) != FALSE);
  FindClose(find);
  return names;
}

std::int32_t NetManager::getProjectLinkOwner(const PRJ& prj) {
  return prj.IsProjectLink() ? prj.owner : 0;
}

int NetID_ReadPrjInfoByPath(const std::wstring& directory, PRJ& out) {
  std::wstring error;
  return report(workstation::readDescriptor(directory, out, error), error);
}

int NetID_ReadPrjInfo(int pathNumber, PRJ& out) {
  const std::wstring directory = lfinigC(pathNumber);
  return directory.empty() ? static_cast<int>(ERROR_PATH_NOT_FOUND) : NetID_ReadPrjInfoByPath(directory, out);
}

int NetID_WritePrjInfoByPath(const std::wstring& directory, const PRJ& prj, int /*flags*/) {
  std::wstring error;
  return report(writeDescriptor(directory, prj, error), error);
}

int NetID_WritePrjInfo(int pathNumber, const PRJ& prj, int flags) {
  const std::wstring directory = lfinigC(pathNumber);
  return directory.empty() ? static_cast<int>(ERROR_PATH_NOT_FOUND) : NetID_WritePrjInfoByPath(directory, prj, flags);
}

int get_project_info(const std::wstring& host, const std::wstring& name, PRJ& out, int /*kind*/, int /*flags*/) {
  PRJ place;
  const std::wstring directoryName = workstation::withoutProjectEnding(name);
  if (!workstation::isSafeDirectoryName(directoryName) || host.size() >= std::size(place.host)) {
    return static_cast<int>(ERROR_INVALID_NAME);
  }
  workstation::copyText(place.host, host);
  workstation::copyText(place.directoryName, directoryName);
  std::wstring directory;
  const int code = make_prj_dir(place, directory);
  return code != 0 ? code : NetID_ReadPrjInfoByPath(directory, out);
}
