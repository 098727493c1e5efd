// Zip archives (APPNOTE.TXT 6.3, methods store and deflate) behind wide strings.
//
// NewZip or Open..., then entries, then a write or CloseZip. Names of entries are UTF-8 in the archive and have forward
// slashes; a backslash in a name given here counts as one. Nothing throws: an operation that fails answers false or
// none, and lastErrorText() then says what was wrong and where. After any failure CloseZip works, and the destructor
// releases everything. Several archives may be at work in parallel, each on one thread. No archive is encrypted; one
// that is encrypted can be listed and not read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "toolkit/ByteData.h"
#include "toolkit/Progress.h"
#include "toolkit/StringW.h"

namespace Quorvel::FileAccess {

class ClsZip;

class CkStringArrayW {
 public:
  bool Append(const wchar_t* text);
  const std::vector<std::wstring>& texts() const { return texts_; }

 private:
  std::vector<std::wstring> texts_;
};

/// Called on the thread of the operation, while it runs.
class CkZipProgressW : public CkObject {
 public:
  /// Setting `abort` ends the operation with a failure.
  virtual void AbortCheck(bool* /*abort*/) {}
  /// Called with 0 to 100, rising, each at most once.
  virtual void PercentDone(int /*percent*/, bool* /*abort*/) {}
};

/// One entry; goes with its archive's content, and is then empty.
class CkZipEntryW : public CkObject {
 public:
  CkZipEntryW(std::shared_ptr<ClsZip> archive, std::uint64_t id);
  ~CkZipEntryW() override;

  void get_FileName(CkString& name) const;
  /// The name that a later Extract uses. @return false for a name that would leave the directory
  bool put_FileName(const wchar_t* name);
  /// Writes the entry below a directory (library path), which is made; an existing file is replaced, whole or not at
  /// all.
  bool Extract(const wchar_t* directory);
  /// As Extract, by the last part of the name alone.
  bool ExtractInto(const wchar_t* directory);
  /// As Extract, for content that is written now: the file's write time is the moment's and not the archive's.
  bool ExtractAsNew(const wchar_t* directory);
  /// Bytes that the archive claims the entry to have uncompressed; 0 when the entry is gone.
  std::uint64_t get_UncompressedSize() const;
  /// The uncompressed bytes, checked against size and CRC-32. `out` is untouched on a failure.
  bool Inflate(CkByteData& out);
  /// The entry's text. @param lineEnds  0: as they are. @param charset  "utf-16" (little endian unless a mark says
  /// otherwise) or "utf-8"
  bool UnzipToString(int lineEnds, const wchar_t* charset, CkString& out);

 private:
  friend class CkZipW;
  std::shared_ptr<ClsZip> archive_;
  std::uint64_t id_;
};

class CkZipW : public CkObject {
 public:
  CkZipW();
  ~CkZipW() override;

  /// Starts an empty archive that WriteZipAndClose puts at `path` (library path).
  bool NewZip(const wchar_t* path);
  bool OpenZip(const wchar_t* path);
  /// Keeps the bytes, without copying them when they are moved in.
  bool OpenFromByteData(CkByteData data);
  /// 0 to 9, forced into that range; for the entries so far too. 6 at the beginning.
  void SetCompressionLevel(int level);
  /// Threads that compress the entries of a write, and that extract; the archive is the same for any number. 0, as at
  /// the beginning: as many as there are processors, but few.
  void SetThreads(unsigned count);
  /// Adds an entry from memory, without copying the bytes when they are moved in. Whatever is appended takes the place
  /// of an entry with the same stored name. @return null on a failure
  std::unique_ptr<CkZipEntryW> AppendData(const wchar_t* name, CkByteData data);
  /// Adds references to the files that a pattern matches: a directory followed by `\*`. They are read when the archive
  /// is written, as they are at one moment each: one that does not rest fails the write, and so does a database that is
  /// written while its files are read. Names are relative to the directory. Links are not followed. All or none: a name
  /// that Extract would refuse (two dots, a device, a character that no volume takes), and one that differs only in
  /// letter case from an entry's or another file's, refuses the whole append.
  bool AppendFiles(const wchar_t* pattern, bool recurse);
  /// Adds a file, or a directory with all below it, all or none as above. @param saveExtraPath  false stores the last
  /// component only
  bool AppendOneFileOrDir(const wchar_t* path, bool saveExtraPath);
  /// File names that AppendFiles leaves out, at any depth and without regard to case.
  void SetExclusions(const CkStringArrayW& names);
  /// A directory that AppendFiles does not enter, at any depth and without regard to case.
  void AddExcludedDirectory(const wchar_t* name);
  /// The entry with this stored path, exactly. @return null when there is none
  std::unique_ptr<CkZipEntryW> GetEntryByName(const wchar_t* name);
  /// The first whose name matches a pattern of `*` and `?`, without regard to case. @return null when there is none
  std::unique_ptr<CkZipEntryW> FirstMatchingEntry(const wchar_t* pattern);
  bool DeleteEntry(const CkZipEntryW& entry);
  std::int32_t get_NumEntries() const;
  /// Paths of the links that were found beside what was appended; they are not in the archive.
  std::vector<std::wstring> linksLeftOut() const;
  /// Extracts everything below a directory (library path). What would leave it, a link, a device name and an entry
  /// whose size or CRC-32 is not what it claims end the operation; each file appears whole or not at all.
  bool Extract(const wchar_t* directory);
  /// Reads all content and writes nothing. @return false when an entry's size or CRC-32 is not what it claims, or the
  /// entry can't be read
  bool CheckContent();
  /// The archive appears whole at its path, or what was there stays. The object is empty afterwards on success.
  bool WriteZipAndClose();
  /// Replaces `out`, which is untouched on a failure.
  bool WriteToMemory(CkByteData& out);
  void CloseZip();
  /// @param callback  null for none; the caller's, until another is set
  void put_EventCallbackObject(CkZipProgressW* callback);
  const wchar_t* lastErrorText() const;

 private:
  std::shared_ptr<ClsZip> archive_;
};

}  // namespace Quorvel::FileAccess
