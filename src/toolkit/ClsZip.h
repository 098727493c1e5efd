// The engine behind the wide zip classes. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/StringW.h"
#include "toolkit/ZipExtraction.h"
#include "toolkit/ZipFiles.h"
#include "toolkit/ZipWriter.h"

namespace Quorvel::FileAccess {

/// One archive: its entries as the caller sees them. The archive that was opened stays as it is until a write; what was
/// appended is read then. Operations that fail answer false and leave a text. Throws nothing but std::bad_alloc and
/// std::length_error, which the facade turns into failures. Belongs to one thread.
class ClsZip {
 public:
  bool create(const std::wstring& path);
  bool open(const std::wstring& path);
  bool open(CkByteData data);
  void close();
  void setLevel(int level);
  void setThreads(unsigned count) { threads_ = count; }
  void setCallback(CkZipProgressW* callback) { callback_ = callback; }
  void setExclusions(std::vector<std::wstring> names) { selection_.excludedNames = std::move(names); }
  void excludeDirectory(std::wstring name) { selection_.excludedDirectories.push_back(std::move(name)); }

  /// The number of the new entry, which takes the place of one with the same name; 0 on a failure.
  std::uint64_t appendData(const wchar_t* name, CkByteData data);
  bool appendFiles(const std::wstring& pattern, bool recurses);
  bool appendFileOrDirectory(const std::wstring& path, bool savesPath);
  /// The number of an entry; 0, with a text, when there is none.
  std::uint64_t find(const wchar_t* name);
  std::uint64_t findFirst(const std::wstring& pattern);
  bool remove(std::uint64_t id);
  std::int32_t count() const;
  const std::vector<std::wstring>& linksLeftOut() const { return links_; }
  bool extract(const wchar_t* directory);
  bool checkContent();
  bool write();
  bool write(CkByteData& out);

  std::wstring nameOf(std::uint64_t id) const;
  bool rename(std::uint64_t id, const wchar_t* name);
  std::uint64_t sizeOf(std::uint64_t id);
  bool extractEntry(std::uint64_t id, const wchar_t* directory, bool keepsPath, bool keepsTime = true);
  bool inflate(std::uint64_t id, CkByteData& out);
  bool toText(std::uint64_t id, const std::wstring& charset, CkString& out);

  bool fail(const std::wstring& reason);
  void failForMemory() noexcept { isOutOfMemory_ = true; }
  const wchar_t* lastError() const noexcept { return isOutOfMemory_ ? L"out of memory" : lastError_.c_str(); }

 private:
  bool openInput(std::unique_ptr<IZipInput> input);
  bool put(ZipEntry entry);
  bool putAll(std::vector<ZipEntry> entries);
  /// Why an entry can't come in, as its name tells; empty when it can.
  std::wstring refusal(const ZipEntry& entry) const;
  /// Leaves no path behind: a later write would replace what could not be read.
  bool failToOpen(const std::wstring& reason);
  bool failEntry(const ZipEntry& entry, const std::wstring& reason);
  /// Null, with a text, when the entry is gone.
  const ZipEntry* entryOf(std::uint64_t id);
  ZipContent content() { return ZipContent(reader_.get()); }
  std::wstring writeTo(IZipOutput& output);

  std::wstring path_;  // of the archive; empty in memory
  int level_ = 6;
  unsigned threads_ = 0;
  ZipSelection selection_;
  CkZipProgressW* callback_ = nullptr;
  std::unique_ptr<ZipReader> reader_;  // of the archive that was opened
  ZipEntries entries_;
  std::vector<std::wstring> links_;  // that were left out
  std::wstring lastError_;
  bool isOutOfMemory_ = false;
};

}  // namespace Quorvel::FileAccess
