#include "toolkit/ZipW.h"

#include <exception>
#include <utility>

#include "toolkit/ClsZip.h"

namespace Quorvel::FileAccess {

namespace {

std::wstring textOf(const wchar_t* text) {
  return text == nullptr ? std::wstring() : text;
}

/// Runs an operation of the engine, which may be missing for want of memory. @return its answer; `failure` when it
/// threw
template <typename Answer, typename Operation>
Answer attempt(const std::shared_ptr<ClsZip>& archive, Answer failure, const Operation& operation) noexcept {
  if (!archive) return failure;
  try {
    return operation(*archive);
  } catch (const std::exception&) {
    archive->failForMemory();
    return failure;
  }
}

template <typename Operation>
bool attempt(const std::shared_ptr<ClsZip>& archive, const Operation& operation) noexcept {
  return attempt(archive, false, operation);
}

/// @return null when `find` answers no entry
template <typename Find>
std::unique_ptr<CkZipEntryW> entryFrom(const std::shared_ptr<ClsZip>& archive, const Find& find) noexcept {
  std::unique_ptr<CkZipEntryW> entry;
  attempt(archive, [&](ClsZip& zip) {
    const std::uint64_t id = find(zip);
    if (id != 0) entry = std::make_unique<CkZipEntryW>(archive, id);
    return id != 0;
  });
  return entry;
}

}  // namespace

bool CkStringArrayW::Append(const wchar_t* text) try {
  texts_.push_back(textOf(text));
  return true;
} catch (const std::exception&) {
  return false;
}

CkZipEntryW::CkZipEntryW(std::shared_ptr<ClsZip> archive, std::uint64_t id) : archive_(std::move(archive)), id_(id) {}

CkZipEntryW::~CkZipEntryW() = default;

void CkZipEntryW::get_FileName(CkString& name) const {
  attempt(archive_, [&](ClsZip& zip) {
    name.setString(zip.nameOf(id_));
    return true;
  });
}

bool CkZipEntryW::put_FileName(const wchar_t* name) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.rename(id_, name); });
}

bool CkZipEntryW::Extract(const wchar_t* directory) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.extractEntry(id_, directory, true); });
}

bool CkZipEntryW::ExtractAsNew(const wchar_t* directory) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.extractEntry(id_, directory, true, false); });
}

std::uint64_t CkZipEntryW::get_UncompressedSize() const {
  return attempt(archive_, std::uint64_t{0}, [&](ClsZip& zip) { return zip.sizeOf(id_); });
}

bool CkZipEntryW::ExtractInto(const wchar_t* directory) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.extractEntry(id_, directory, false); });
}

bool CkZipEntryW::Inflate(CkByteData& out) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.inflate(id_, out); });
}

bool CkZipEntryW::UnzipToString(int lineEnds, const wchar_t* charset, CkString& out) {
  return attempt(archive_, [&](ClsZip& zip) {
    if (lineEnds != 0) return zip.fail(L"line ends can't be changed");
    return zip.toText(id_, textOf(charset), out);
  });
}

CkZipW::CkZipW() {
  try {
    archive_ = std::make_shared<ClsZip>();
  } catch (const std::exception&) {
    archive_.reset();  // every operation then fails, for want of memory
  }
}

CkZipW::~CkZipW() {
  CloseZip();
}

bool CkZipW::NewZip(const wchar_t* path) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.create(textOf(path)); });
}

bool CkZipW::OpenZip(const wchar_t* path) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.open(textOf(path)); });
}

bool CkZipW::OpenFromByteData(CkByteData data) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.open(std::move(data)); });
}

void CkZipW::SetCompressionLevel(int level) {
  if (archive_) archive_->setLevel(level);
}

void CkZipW::SetThreads(unsigned count) {
  if (archive_) archive_->setThreads(count);
}

std::unique_ptr<CkZipEntryW> CkZipW::AppendData(const wchar_t* name, CkByteData data) {
  return entryFrom(archive_, [&](ClsZip& zip) { return zip.appendData(name, std::move(data)); });
}

bool CkZipW::AppendFiles(const wchar_t* pattern, bool recurse) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.appendFiles(textOf(pattern), recurse); });
}

bool CkZipW::AppendOneFileOrDir(const wchar_t* path, bool saveExtraPath) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.appendFileOrDirectory(textOf(path), saveExtraPath); });
}

void CkZipW::SetExclusions(const CkStringArrayW& names) {
  attempt(archive_, [&](ClsZip& zip) {
    zip.setExclusions(names.texts());
    return true;
  });
}

void CkZipW::AddExcludedDirectory(const wchar_t* name) {
  attempt(archive_, [&](ClsZip& zip) {
    zip.excludeDirectory(textOf(name));
    return true;
  });
}

std::unique_ptr<CkZipEntryW> CkZipW::GetEntryByName(const wchar_t* name) {
  return entryFrom(archive_, [&](ClsZip& zip) { return zip.find(name); });
}

std::unique_ptr<CkZipEntryW> CkZipW::FirstMatchingEntry(const wchar_t* pattern) {
  return entryFrom(archive_, [&](ClsZip& zip) { return zip.findFirst(textOf(pattern)); });
}

bool CkZipW::DeleteEntry(const CkZipEntryW& entry) {
  return attempt(archive_, [&](ClsZip& zip) {
    if (entry.archive_ != archive_) return zip.fail(L"an entry of this archive expected");
    return zip.remove(entry.id_);
  });
}

std::int32_t CkZipW::get_NumEntries() const {
  return archive_ ? archive_->count() : 0;
}

std::vector<std::wstring> CkZipW::linksLeftOut() const {
  return archive_ ? archive_->linksLeftOut() : std::vector<std::wstring>();
}

bool CkZipW::Extract(const wchar_t* directory) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.extract(directory); });
}

bool CkZipW::CheckContent() {
  return attempt(archive_, [](ClsZip& zip) { return zip.checkContent(); });
}

bool CkZipW::WriteZipAndClose() {
  return attempt(archive_, [&](ClsZip& zip) { return zip.write(); });
}

bool CkZipW::WriteToMemory(CkByteData& out) {
  return attempt(archive_, [&](ClsZip& zip) { return zip.write(out); });
}

void CkZipW::CloseZip() {
  if (archive_) archive_->close();
}

void CkZipW::put_EventCallbackObject(CkZipProgressW* callback) {
  if (archive_) archive_->setCallback(callback);
}

const wchar_t* CkZipW::lastErrorText() const {
  return archive_ ? archive_->lastError() : L"out of memory";
}

}  // namespace Quorvel::FileAccess
