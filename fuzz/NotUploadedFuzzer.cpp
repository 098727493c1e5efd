// The file of what could not be uploaded.

#include <set>

#include "background/NotUploadedText.h"
#include "fuzz/Support.h"

using namespace Quorvel::FileAccess;

namespace {

std::vector<NotUploadedEntry> entriesOf(std::string_view bytes, std::vector<int>& broken) {
  std::vector<NotUploadedEntry> entries;
  platform::TextFile file(fuzz::fileOf(bytes), L"r");
  broken = readNotUploaded(file, entries);
  return entries;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<int> broken;
  const auto entries = entriesOf(fuzz::textOf(data, size), broken);
  for (const NotUploadedEntry& entry : entries) {
    fuzz::require(entry.number > 0 && entry.number <= kHighestNotUploaded, "a number has one to six digits");
  }
  fuzz::require(std::set(entries.begin(), entries.end()).size() == entries.size(), "an entry stands once");
  fuzz::require(entriesOf(platform::toUtf8(notUploadedText(entries)), broken) == entries && broken.empty(),
                "a list is read as it was written");
  return 0;
}
