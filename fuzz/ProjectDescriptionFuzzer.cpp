// "Project1.Dat.xml", the description of a project.

#include "fuzz/Support.h"
#include "host/NetManager.h"
#include "host/Project.h"
#include "platform/Files.h"
#include "workstation/projects/ProjectNames.h"

using fuzz::require;

namespace {

/// What is written of a project; two projects are the same when it is.
std::string writtenOf(const PRJ& prj) {
  NetManager::projectInfo info;
  info.fromDescriptor(prj);
  const std::wstring path = fuzz::fileOf("");
  require(NetManager::writeProject1DatXml(path, info), "a description can be written");
  std::string bytes;
  require(platform::readWholeFile(path, bytes, std::uint64_t{1} << 30U) == 0, "a description can be read");
  return bytes;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  NetManager::projectInfo info;
  std::wstring error;
  const std::wstring path = fuzz::fileOf(fuzz::textOf(data, size));
  if (!NetManager::readProject1DatXml(path, info, &error)) {
    require(error.starts_with(path), "a refusal names the file");
    return 0;
  }
  PRJ prj;
  info.toDescriptor(prj);
  const std::wstring directory = prj.GetDirectoryName();
  require(directory.empty() || workstation::isSafeDirectoryName(directory), "a project stays in its directory");
  const std::string written = writtenOf(prj);
  require(NetManager::readProject1DatXml(fuzz::fileOf(written), info, &error), "what was written is accepted");
  PRJ again;
  info.toDescriptor(again);
  require(writtenOf(again) == written, "a project is read as it was written");
  return 0;
}
