// Zip archives that somebody else made: what they list, hold and extract.

#include <filesystem>

#include "fuzz/Support.h"
#include "platform/Paths.h"
#include "toolkit/ZipW.h"

using namespace Quorvel::FileAccess;
using fuzz::require;

namespace {

/// Extracts everything and looks that it is below the directory.
void extract(CkZipW& zip) {
  const std::filesystem::path around = platform::systemPath(fuzz::directory());
  const std::filesystem::path target = around / "target";
  std::filesystem::create_directory(target);
  const bool isDone = zip.Extract(platform::libraryPath(target.string()).c_str());
  require(isDone || *zip.lastErrorText() != L'\0', "a failure has a reason");
  for (const auto& entry : std::filesystem::directory_iterator(around)) {
    require(entry.path() == target, "nothing leaves the directory");
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(target)) {
    require(!entry.is_symlink() && (entry.is_directory() || entry.is_regular_file()), "files and directories come out");
  }
  std::filesystem::remove_all(target);
}

/// As an archive's project is told: by its size first, then as text of either kind, then as a file.
void readInformation(CkZipEntryW& entry) {
  constexpr std::uint64_t kLargest = std::uint64_t{4} << 20U;
  if (entry.get_UncompressedSize() > kLargest) return;
  CkByteData content;
  if (entry.Inflate(content)) require(content.getSize() == entry.get_UncompressedSize(), "content has its size");
  for (const wchar_t* charset : {L"utf-16", L"utf-8"}) {
    CkString text;
    const bool isText = entry.UnzipToString(0, charset, text);
    require(isText || text.text().empty(), "a failure gives no text");
  }
  const std::filesystem::path target = std::filesystem::path(platform::systemPath(fuzz::directory())) / "information";
  std::filesystem::create_directory(target);
  entry.ExtractInto(platform::libraryPath(target.string()).c_str());
  for (const auto& file : std::filesystem::recursive_directory_iterator(target)) {
    require(file.path() == target / "Project1.Dat.xml", "it goes by its bare name");
  }
  std::filesystem::remove_all(target);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CkZipW zip;
  if (!zip.OpenFromByteData(CkByteData(std::vector(data, data + size)))) {
    require(*zip.lastErrorText() != L'\0', "a refusal has a reason");
    return 0;
  }
  if (const auto entry = zip.FirstMatchingEntry(L"*.zdw")) {
    CkByteData content;
    CkString text;
    require(entry->Inflate(content) || content.getSize() == 0, "a failure gives no content");
    entry->UnzipToString(0, L"utf-16", text);
  }
  for (const wchar_t* name : {L"Link4/Resource/Project1.Dat.xml", L"Project1.Dat.xml"}) {
    if (const auto entry = zip.GetEntryByName(name)) readInformation(*entry);
  }
  require(zip.CheckContent() || *zip.lastErrorText() != L'\0', "damage has a reason");
  extract(zip);
  CkByteData written;
  CkZipW again;
  if (!zip.WriteToMemory(written)) return 0;
  require(again.OpenFromByteData(written) && again.get_NumEntries() == zip.get_NumEntries(), "a copy has every entry");
  return 0;
}
