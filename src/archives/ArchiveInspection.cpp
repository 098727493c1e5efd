// What an archive tells of its project.
#include "archives/FreshDirectory.h"
#include "archives/ProjectEntry.h"
#include "host/Files.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "zephor/ProjectArchives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kOperation = L"Quorvel::FileAccess::WGO_getProjectDatXmlFromZipFile";
constexpr const wchar_t* kShareFolder = L"Link4/Resource";
constexpr int kOfficePath = 29;
/// More than any project information has: a claim above it is not believed.
constexpr std::uint64_t kLargestInformation = std::uint64_t{4} * 1024 * 1024;

bool logFailure(const CkZipW& zip) {
  lfperrC(L"%s: %s\n", kOperation, zip.lastErrorText());
  return false;
}

/// The document's text, in UTF-16 or, as this host writes it, in UTF-8: a byte of 0 tells the first.
bool readText(CkZipEntryW& entry, std::wstring& xml) {
  CkByteData bytes;
  if (!entry.Inflate(bytes)) return false;
  const std::uint8_t* first = bytes.getData();
  const bool isMarked =
      bytes.getSize() >= 2 && ((first[0] == 0xFF && first[1] == 0xFE) || (first[0] == 0xFE && first[1] == 0xFF));
  const bool isWide = isMarked || (bytes.getSize() >= 2 && (first[0] == 0 || first[1] == 0));
  CkString text;
  if (!entry.UnzipToString(0, isWide ? L"utf-16" : L"utf-8", text)) return false;
  xml = text.text();
  return true;
}

/// The host reads descriptors from directories alone. The office's own, path 29, stands in for it with a fresh one: a
/// "Project1.Dat.xml" that lies in the office's is nobody's to replace.
bool readInformation(const CkZipW& zip, CkZipEntryW& entry, PRJ& info) {
  const FreshDirectory scratch(temporaryDirectory(), L"zephor");
  if (scratch.error() != ERROR_SUCCESS) {
    lfperrC(L"%s: %s: error %u\n", kOperation, scratch.path(), scratch.error());
    return false;
  }
  const ScopedPathPut office(kOfficePath, scratch.path());
  const std::wstring directory = lfinigC(kOfficePath);
  if (!entry.ExtractInto(directory.c_str())) return logFailure(zip);
  const bool isRead = NetID_ReadPrjInfo(kOfficePath, info) == 0;
  DeleteFileW((directory + kProjectInformation).c_str());
  return isRead;
}

}  // namespace

std::wstring shareProjectEntry() {
  return platform::formatWide(L"%s/%s", kShareFolder, kProjectInformation);
}

std::wstring projectInformationEntry(CkZipW& zip) {
  const std::wstring shared = shareProjectEntry();
  return zip.GetEntryByName(shared.c_str()) != nullptr ? shared : kProjectInformation;
}

bool WGO_isShareProjectZipFile(const wchar_t* zipPath) {
  if (zipPath == nullptr) return false;
  CkZipW zip;
  if (!zip.OpenZip(zipPath)) return false;
  const bool isShared = zip.GetEntryByName(shareProjectEntry().c_str()) != nullptr;
  zip.CloseZip();
  return isShared;
}

bool WGO_getProjectDatXmlFromZipFile(const wchar_t* zipPath, std::wstring& xml, PRJ* info) {
  xml.clear();
  if (zipPath == nullptr) return false;
  CkZipW zip;
  if (!zip.OpenZip(zipPath)) return logFailure(zip);
  const auto entry = zip.GetEntryByName(projectInformationEntry(zip).c_str());
  if (entry == nullptr) return logFailure(zip);
  if (entry->get_UncompressedSize() > kLargestInformation) {
    lfperrC(L"%s: %s: %s: at most %llu bytes expected, %llu found\n", kOperation, zipPath, kProjectInformation,
            kLargestInformation, entry->get_UncompressedSize());
    return false;
  }
  if (!readText(*entry, xml)) return logFailure(zip);
  PRJ unwanted;
  return readInformation(zip, *entry, info != nullptr ? *info : unwanted);
}

}  // namespace Quorvel::FileAccess
