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

/// As a fetched description is read, by the number of its directory's path, and a project written over it.
void readByPathNumber(std::string_view bytes, const std::string* expected) {
  constexpr int kDescriptionPath = 18;
  fuzz::fileOf(bytes, "Project1.Dat.xml");
  PRJ prj;
  require((NetID_ReadPrjInfo(kDescriptionPath, prj) == 0) == (expected != nullptr), "both ways to read agree");
  if (expected == nullptr) return;
  require(writtenOf(prj) == *expected, "both ways read the same");
  const bool isNamed = workstation::isSafeDirectoryName(prj.GetDirectoryName());
  require((NetID_WritePrjInfo(kDescriptionPath, prj, 0) == 0) == isNamed, "a project with a place can be written over");
  PRJ again;
  require(NetID_ReadPrjInfo(kDescriptionPath, again) == 0 && writtenOf(again) == *expected, "and is read so");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  NetManager::projectInfo info;
  std::wstring error;
  const std::wstring path = fuzz::fileOf(fuzz::textOf(data, size));
  if (!NetManager::readProject1DatXml(path, info, &error)) {
    require(error.starts_with(path), "a refusal names the file");
    readByPathNumber(fuzz::textOf(data, size), nullptr);
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
  readByPathNumber(fuzz::textOf(data, size), &written);
  return 0;
}
