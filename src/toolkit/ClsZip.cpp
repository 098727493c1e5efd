#include "toolkit/ClsZip.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "toolkit/FtpListing.h"
#include "toolkit/ZipAhead.h"
#include "toolkit/ZipText.h"

namespace Quorvel::FileAccess {

bool ClsZip::create(const std::wstring& path) {
  close();
  if (path.empty()) return fail(L"a path for the new archive expected");
  path_ = path;
  return true;
}

bool ClsZip::open(const std::wstring& path) {
  close();
  path_ = path;
  auto input = std::make_unique<ZipFileInput>(path);
  if (!input->open()) return failToOpen(L"can't be opened: " + systemReason(GetLastError()));
  return openInput(std::move(input));
}

bool ClsZip::open(CkByteData data) {
  close();
  return openInput(std::make_unique<ZipMemoryInput>(std::move(data)));
}

bool ClsZip::openInput(std::unique_ptr<IZipInput> input) {
  std::wstring reason;
  reader_ = ZipReader::open(std::move(input), reason);
  if (!reader_) return failToOpen(reason);
  for (std::uint64_t index = 0; index < reader_->count(); ++index) {
    ZipEntry entry;
    entry.name = reader_->name(index);
    entry.index = index;
    entry.size = reader_->claim(index).storedSize;
    entries_.add(std::move(entry));
  }
  return true;
}

void ClsZip::close() {
  entries_.clear();
  links_.clear();
  reader_.reset();
  path_.clear();
}

void ClsZip::setLevel(int level) {
  level_ = std::clamp(level, 0, 9);
}

std::wstring ClsZip::refusal(const ZipEntry& entry) const {
  std::wstring reason = nameRefusal(entry.name);
  const bool isOther = reason.empty() && entries_.idOf(entry.name) == 0 && entries_.similarTo(entry.name) != 0;
  return isOther ? L"the archive has an entry of this name in other letter case" : reason;
}

bool ClsZip::put(ZipEntry entry) {
  const std::wstring reason = refusal(entry);
  if (!reason.empty()) return failEntry(entry, reason);
  const std::uint64_t same = entries_.idOf(entry.name);
  if (same != 0) entries_.remove(same);
  entries_.add(std::move(entry));
  return true;
}

bool ClsZip::putAll(std::vector<ZipEntry> entries) {
  std::unordered_set<std::wstring> names;
  for (const ZipEntry& entry : entries) {
    std::wstring reason = refusal(entry);
    const bool isNew = names.insert(platform::toLower(entry.name)).second;
    if (reason.empty() && !isNew) reason = L"another file has this name in other letter case";
    if (!reason.empty()) return failEntry(entry, reason);
  }
  for (ZipEntry& entry : entries) put(std::move(entry));
  return true;
}

std::uint64_t ClsZip::appendData(const wchar_t* name, CkByteData data) {
  ZipEntry entry;
  entry.name = storedName(name);
  entry.kind = ZipEntry::Kind::Data;
  entry.size = data.getSize();
  entry.data = std::make_shared<const CkByteData>(std::move(data));
  GetSystemTimeAsFileTime(&entry.time);
  if (entry.isDirectory()) {
    failEntry(entry, L"the name of a file expected");
    return 0;
  }
  const std::wstring entryName = entry.name;
  return put(std::move(entry)) ? entries_.idOf(entryName) : 0;
}

bool ClsZip::appendFiles(const std::wstring& pattern, bool recurses) {
  ZipSelection selection = selection_;
  selection.pattern = platform::fileNameOf(pattern);
  selection.recurses = recurses;
  selection.archive = path_;
  selection.links = &links_;
  std::vector<ZipEntry> found;
  const std::wstring reason = collectFiles(platform::directoryOf(pattern), {}, selection, found);
  return reason.empty() ? putAll(std::move(found)) : fail(reason);
}

bool ClsZip::appendFileOrDirectory(const std::wstring& path, bool savesPath) {
  const std::wstring whole = path.substr(0, path.find_last_not_of(L"\\/") + 1);
  const platform::FileStatus status = platform::fileStatus(whole);
  if (!status.exists) return fail(L"file \"" + path + L"\" can't be read: " + systemReason(ERROR_FILE_NOT_FOUND));
  std::wstring name = platform::fileNameOf(whole);
  if (savesPath) {
    name = storedName(whole.c_str());
    if (name.size() > 1 && name[1] == L':') name.erase(0, 2);
    name.erase(0, name.find_first_not_of(L'/'));
  }
  if (!status.isDirectory) return put(fileEntry(whole, name, status.size, status.writeTime));
  ZipSelection selection;
  selection.archive = path_;
  selection.links = &links_;
  std::vector<ZipEntry> found;
  const std::wstring reason = collectFiles(whole, name + L"/", selection, found);
  if (!reason.empty()) return fail(reason);
  if (found.empty()) {
    ZipEntry& empty = found.emplace_back();
    empty.kind = ZipEntry::Kind::Directory;
    empty.name = name + L"/";
    empty.time = status.writeTime;
  }
  return putAll(std::move(found));
}

std::uint64_t ClsZip::find(const wchar_t* name) {
  const std::uint64_t id = entries_.idOf(storedName(name));
  if (id == 0) fail(L"no entry \"" + storedName(name) + L"\"");
  return id;
}

std::uint64_t ClsZip::findFirst(const std::wstring& pattern) {
  for (const auto& [id, entry] : entries_.all()) {
    if (matchesPattern(entry.name, pattern)) return id;
  }
  fail(L"no entry matches \"" + pattern + L"\"");
  return 0;
}

bool ClsZip::remove(std::uint64_t id) {
  if (entryOf(id) == nullptr) return false;
  entries_.remove(id);
  return true;
}

std::int32_t ClsZip::count() const {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(entries_.all().size(), kMost));
}

bool ClsZip::extract(const wchar_t* directory) {
  const ZipContent content = this->content();
  ZipExtraction extraction(content, directory, {threads_, true});
  std::wstring reason;
  std::uint64_t stored = 0;
  for (const auto& [id, entry] : entries_.all()) {
    if (!extraction.add(entry, entry.name, reason)) return fail(reason);
    stored += content.storedSize(entry);
  }
  // Each entry fits into the archive by itself by now, so that the sum can't run over before it shows.
  if (reader_ && stored > reader_->input().size()) return fail(L"its entries overlap");
  return extraction.run(callback_, reason) || fail(reason);
}

bool ClsZip::checkContent() {
  const ZipContent content = this->content();
  std::vector<const ZipEntry*> files;
  std::vector<std::uint64_t> weights;
  for (const auto& [id, entry] : entries_.all()) {
    if (entry.isDirectory()) continue;
    files.push_back(&entry);
    weights.push_back(std::min(content.size(entry), kStreamedFrom));
  }
  ZipMeter meter(nullptr, 0);
  ZipTally tally(meter);
  const auto check = [&](std::size_t number) {
    const std::wstring reason = content.read(*files[number], [](const void*, std::size_t) { return true; });
    return reason.empty() ? reason : L"entry \"" + files[number]->name + L"\": " + reason;
  };
  const unsigned threads = threads_ == 0 ? suitableZipThreads() : threads_;
  const std::wstring reason = workTogether(weights, kStreamedFrom, threads, check, tally);
  return reason.empty() || fail(reason);
}

std::wstring ClsZip::writeTo(IZipOutput& output) {
  std::uint64_t total = 0;
  for (const auto& [id, entry] : entries_.all()) total += entry.size;
  ZipMeter meter(callback_, total);
  ZipRun run;
  run.meter = &meter;
  run.level = level_;
  ZipAhead ahead(level_, threads_);
  run.ahead = &ahead;
  std::wstring reason = writeArchive(entries_, reader_.get(), output, run);
  if (reason.empty()) meter.finish();
  return reason;
}

bool ClsZip::write() {
  if (path_.empty()) return fail(L"an archive with a path expected");
  ZipFileOutput output(path_);
  const std::wstring reason = writeTo(output);
  if (!reason.empty()) return fail(reason);
  close();
  return true;
}

bool ClsZip::write(CkByteData& out) {
  ZipMemoryOutput output;
  const std::wstring reason = writeTo(output);
  if (!reason.empty()) return fail(reason);
  out = output.take();
  return true;
}

std::wstring ClsZip::nameOf(std::uint64_t id) const {
  const ZipEntry* entry = entries_.find(id);
  return entry == nullptr ? std::wstring() : entry->name;
}

bool ClsZip::rename(std::uint64_t id, const wchar_t* name) {
  const ZipEntry* entry = entryOf(id);
  if (entry == nullptr) return false;
  const std::wstring renamed = storedName(name);
  std::wstring reason = nameRefusal(renamed);
  if (reason.empty() && entry->isDirectory() != (renamed.back() == L'/')) reason = L"a file and a directory differ";
  const std::uint64_t other = entries_.similarTo(renamed);
  if (reason.empty() && other != 0 && other != id) reason = L"another entry has this name without regard to case";
  if (!reason.empty()) return failEntry(*entry, L"can't be renamed to \"" + renamed + L"\": " + reason);
  entries_.rename(id, renamed);
  return true;
}

std::uint64_t ClsZip::sizeOf(std::uint64_t id) {
  const ZipEntry* entry = entryOf(id);
  return entry == nullptr ? 0 : content().size(*entry);
}

bool ClsZip::extractEntry(std::uint64_t id, const wchar_t* directory, bool keepsPath, bool keepsTime) {
  const ZipEntry* entry = entryOf(id);
  if (entry == nullptr) return false;
  std::wstring name = entry->name;
  if (!keepsPath && name.size() > 1) name.erase(0, name.find_last_of(L'/', name.size() - 2) + 1);
  const ZipContent content = this->content();
  ZipExtraction extraction(content, directory, {1, false, keepsTime});
  std::wstring reason;
  return (extraction.add(*entry, name, reason) && extraction.run(callback_, reason)) || fail(reason);
}

bool ClsZip::inflate(std::uint64_t id, CkByteData& out) {
  const ZipEntry* entry = entryOf(id);
  if (entry == nullptr) return false;
  const std::wstring reason = content().read(*entry, out);
  return reason.empty() || failEntry(*entry, reason);
}

bool ClsZip::toText(std::uint64_t id, const std::wstring& charset, CkString& out) {
  const ZipEntry* entry = entryOf(id);
  if (entry == nullptr) return false;
  CkByteData bytes;
  std::wstring reason = content().read(*entry, bytes);
  std::wstring text;
  if (reason.empty()) reason = decodeText(bytes, charset, text);
  if (!reason.empty()) return failEntry(*entry, reason);
  out.setString(std::move(text));
  return true;
}

bool ClsZip::fail(const std::wstring& reason) {
  lastError_ = (path_.empty() ? L"archive in memory: " : L"archive \"" + path_ + L"\": ") + reason;
  isOutOfMemory_ = false;
  return false;
}

bool ClsZip::failToOpen(const std::wstring& reason) {
  fail(reason);
  close();
  return false;
}

bool ClsZip::failEntry(const ZipEntry& entry, const std::wstring& reason) {
  return fail(L"entry \"" + entry.name + L"\": " + reason);
}

const ZipEntry* ClsZip::entryOf(std::uint64_t id) {
  const ZipEntry* entry = entries_.find(id);
  if (entry == nullptr) fail(L"the entry is not in the archive any more");
  return entry;
}

}  // namespace Quorvel::FileAccess
