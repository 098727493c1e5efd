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
  extract(zip);
  CkByteData written;
  CkZipW again;
  if (!zip.WriteToMemory(written)) return 0;
  require(again.OpenFromByteData(written) && again.get_NumEntries() == zip.get_NumEntries(), "a copy has every entry");
  return 0;
}
