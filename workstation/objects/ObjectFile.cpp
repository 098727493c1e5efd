#include "workstation/objects/ObjectFile.h"

#include <functional>
#include <mutex>

#include "host/Guid.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Time.h"
#include "workstation/objects/ObjectNames.h"
#include "workstation/objects/ObjectReader.h"
#include "workstation/objects/OpenFiles.h"

namespace workstation {
namespace {

constexpr std::size_t kNameUnits = 127;

/// Saving reads a version and writes the next one; two savers of this process do so one after the other.
std::mutex& savingMutex() {
  static std::mutex mutex;
  return mutex;
}

struct WrittenContent {
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
};

/// Writes the content to a position of the new file and tells what it wrote.
using ContentWriter =
    std::function<DWORD(const BlockFile& target, std::uint64_t position, WrittenContent& written, std::wstring& error)>;

/// What a new object file is made of.
struct NewObject {
  ObjectRecord record;
  std::wstring contentName;  ///< empty: nothing is wrapped
  ContentWriter writeContent;
};

ContentWriter contentOfFile(const std::wstring& content) {
  return [content](const BlockFile& target, std::uint64_t position, WrittenContent& written, std::wstring& error) {
    BlockFile source;
    if (const DWORD code = source.openForReading(content))
      return failure(code, content, platform::formatWide(L"can't be opened (error %u)", code), error);
    const DWORD code = copyBlocks(
        source, target, position, UINT64_MAX,
        [&](const std::uint8_t* block, std::size_t size) { written.crc = crc32Of(block, size, written.crc); },
        written.size);
    return code == ERROR_SUCCESS
               ? code
               : failure(code, content, platform::formatWide(L"can't be copied (error %u)", code), error);
  };
}

ContentWriter contentOfObject(const std::wstring& path, const OpenedObject& object) {
  return [&](const BlockFile& target, std::uint64_t position, WrittenContent& written, std::wstring& error) {
    written = {object.layout.contentSize, object.layout.contentCrc};
    return readContent(path, object, &target, position, error);
  };
}

ObjectLayout layoutOf(const NewObject& object, const WrittenContent& written, const std::vector<std::uint8_t>& tables,
                      const std::vector<std::uint8_t>& record) {
  ObjectLayout layout;
  layout.type = typeOfRecord(object.record);
  layout.tablesSize = static_cast<std::uint32_t>(tables.size());
  layout.tablesCrc = crc32Of(tables.data(), tables.size());
  layout.recordCrc = crc32Of(record.data(), record.size());
  layout.contentSize = written.size;
  layout.contentCrc = written.crc;
  return layout;
}

std::vector<std::uint8_t> tablesOf(const NewObject& object, const WrittenContent& written) {
  if (object.contentName.empty()) return encodeTables({});
  return encodeTables({{0, written.size, written.crc, object.contentName}});
}

/// Writes the sections of a new file; the content first, since the others tell its size and checksum.
DWORD writeSections(const BlockFile& file, NewObject& object, std::wstring& error) {
  WrittenContent written;
  std::vector<std::uint8_t> tables = tablesOf(object, written);
  if (tables.empty()) {
    error = object.contentName + L": the file name is too long to be wrapped";
    return ERROR_INVALID_NAME;
  }
  const std::uint64_t contentPosition = kHeadSize + tables.size() + recordSize(typeOfRecord(object.record));
  if (object.writeContent) {
    if (const DWORD code = object.writeContent(file, contentPosition, written, error)) return code;
  }
  std::visit(
      [&](auto& header) {
        header.contentSize = static_cast<std::int64_t>(written.size);
        header.contentCrc = written.crc;
      },
      object.record);
  tables = tablesOf(object, written);
  const std::vector<std::uint8_t> record = encodeRecord(object.record);
  const ObjectLayout layout = layoutOf(object, written, tables, record);
  const auto head = encodeHead(layout);
  DWORD code = file.writeAt(layout.tablesPosition(), tables.data(), tables.size());
  if (code == ERROR_SUCCESS) code = file.writeAt(layout.recordPosition(), record.data(), record.size());
  if (code == ERROR_SUCCESS) code = file.writeAt(0, head.data(), head.size());
  if (code == ERROR_SUCCESS) code = file.finish(layout.fileSize());
  if (code != ERROR_SUCCESS) error = platform::formatWide(L"the new version can't be written (error %u)", code);
  return code;
}

/// @param replaced  the file whose place the new one is going to take
DWORD writeObject(const std::wstring& path, const std::wstring& replaced, NewObject& object, std::wstring& error) {
  BlockFile file;
  if (const DWORD code = file.create(path, replaced))
    return failure(code, path, platform::formatWide(L"can't be created (error %u)", code), error);
  if (const DWORD code = writeSections(file, object, error)) return code;
  const DWORD code = file.close();
  return code == ERROR_SUCCESS ? code : failure(code, path, L"can't be closed", error);
}

/// Puts a complete new version in the place of the old one; `temporary` is used up.
DWORD commitVersion(TemporaryFileGuard& temporary, const std::wstring& path, std::wstring& error) {
  if (const auto open = findOpenFile(path)) {
    const DWORD code = replaceOpenContent(*open, temporary.path(), error);
    if (code == ERROR_SUCCESS) open->modified = true;
    return code;
  }
  if (MoveFileExW(temporary.path().c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE) {
    const DWORD code = GetLastError();
    return failure(code, path, platform::formatWide(L"can't be replaced (error %u)", code), error);
  }
  temporary.release();
  return ERROR_SUCCESS;
}

std::int64_t now() {
  FILETIME time{};
  GetSystemTimeAsFileTime(&time);
  return static_cast<std::int64_t>(platform::toTicks(time));
}

/// Marks a record as the next version.
void raiseVersion(ObjectRecord& record, const ObjectAuthor& author) {
  std::visit(
      [&](auto& header) {
        header.versionCounter = nextVersion(header.versionCounter);
        header.modifiedTime = now();
        header.lastUser = author.userNumber;
        if constexpr (requires { header.userName; }) setMember(header.userName, author.userName);
        if constexpr (requires { header.compressedMark; }) header.compressedMark = 0;
      },
      record);
}

ObjectRecord firstVersion(QuorvelFileType type, int number, const std::wstring& name, const ObjectAuthor& author) {
  ObjectRecord record = clearedRecord(type);
  std::visit(
      [&](auto& header) {
        header.number = number;
        header.versionCounter = 0;
        GetTwoDoublesFromGUID(GetGUID(), header.guidFirst, header.guidSecond);
        header.createdTime = now();
        header.creator = author.userNumber;
        setMember(header.name, name);
      },
      record);
  raiseVersion(record, author);
  return record;
}

DWORD checkNewObject(QuorvelFileType type, int number, const std::wstring& name, std::wstring& error) {
  if (!isObjectType(type)) {
    error = platform::formatWide(L"%d is no kind of object file; expected 0, 28 or 33", static_cast<int>(type));
    return ERROR_INVALID_PARAMETER;
  }
  if (!isPossibleNumber(type, number)) {
    error = platform::formatWide(L"number %d is not possible; expected 1 to %d", number, highestNumber(type));
    return ERROR_INVALID_PARAMETER;
  }
  if (platform::toUtf16(name).size() > kNameUnits) {
    error = platform::formatWide(L"name \"%s\" is too long; expected at most 127 characters", name);
    return ERROR_INVALID_PARAMETER;
  }
  return ERROR_SUCCESS;
}

}  // namespace

DWORD createObject(const std::wstring& directory, QuorvelFileType type, int number, const std::wstring& name,
                   const std::wstring& content, const ObjectAuthor& author, std::wstring& path, std::wstring& error) {
  if (const DWORD code = checkNewObject(type, number, name, error)) return code;
  const std::wstring target = platform::joinPath(directory, objectFileName(type, number));
  if (platform::fileStatus(target).exists) return failure(ERROR_FILE_EXISTS, target, L"exists already", error);
  const std::wstring contentName = content.empty() ? std::wstring() : platform::fileNameOf(content);
  NewObject object{firstVersion(type, number, name.empty() ? contentName : name, author), contentName, {}};
  std::visit([&](auto& header) { setMember(header.contentName, contentName); }, object.record);
  if (!content.empty()) object.writeContent = contentOfFile(content);
  TemporaryFileGuard temporary(temporaryBeside(target));
  if (const DWORD code = writeObject(temporary.path(), target, object, error)) return code;
  // A move that refuses an existing target, so that of two makers of one number only one succeeds.
  if (MoveFileW(temporary.path().c_str(), target.c_str()) == FALSE) {
    const DWORD code = GetLastError();
    return failure(code, target, platform::formatWide(L"can't be put in place (error %u)", code), error);
  }
  temporary.release();
  path = target;
  return ERROR_SUCCESS;
}

DWORD replaceContent(const std::wstring& path, const std::wstring& content, const ObjectAuthor& author,
                     std::wstring& error) {
  if (content.empty()) return failure(ERROR_INVALID_PARAMETER, path, L"no content was given", error);
  const std::lock_guard saving(savingMutex());
  recoverInterruptedReplace(path);
  ObjectFileInfo info;
  if (const DWORD code = readObjectHeader(path, info, error)) return code;
  NewObject object{info.record, platform::fileNameOf(content), contentOfFile(content)};
  raiseVersion(object.record, author);
  std::visit([&](auto& header) { setMember(header.contentName, object.contentName); }, object.record);
  TemporaryFileGuard temporary(temporaryBeside(path));
  if (const DWORD code = writeObject(temporary.path(), path, object, error)) return code;
  return commitVersion(temporary, path, error);
}

DWORD touchVersion(const std::wstring& path, const ObjectAuthor& author, std::wstring& error,
                   const std::uint32_t* above) {
  const std::lock_guard saving(savingMutex());
  recoverInterruptedReplace(path);
  const QuiescedFile quiet(path);
  OpenedObject old;
  if (const DWORD code = openContent(path, old, error)) return code;
  NewObject object{old.info.record, old.info.contentName, contentOfObject(path, old)};
  if (above != nullptr) std::visit([&](auto& header) { header.versionCounter = *above; }, object.record);
  raiseVersion(object.record, author);
  TemporaryFileGuard temporary(temporaryBeside(path));
  if (const DWORD code = writeObject(temporary.path(), path, object, error)) return code;
  old.file.close();
  return commitVersion(temporary, path, error);
}

DWORD exportContent(const std::wstring& path, const std::wstring& target, std::wstring& error) {
  const QuiescedFile quiet(path);
  OpenedObject object;
  if (const DWORD code = openContent(path, object, error)) return code;
  TemporaryFileGuard temporary(temporaryBeside(target));
  BlockFile file;
  if (const DWORD code = file.create(temporary.path(), target))
    return failure(code, target, platform::formatWide(L"can't be created (error %u)", code), error);
  if (const DWORD code = readContent(path, object, &file, 0, error)) return code;
  DWORD code = file.finish(object.layout.contentSize);
  if (code == ERROR_SUCCESS) code = file.close();
  if (code == ERROR_SUCCESS &&
      MoveFileExW(temporary.path().c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) == FALSE)
    code = GetLastError();
  if (code != ERROR_SUCCESS)
    return failure(code, target, platform::formatWide(L"can't be written (error %u)", code), error);
  temporary.release();
  return ERROR_SUCCESS;
}

DWORD readObjectHeader(const std::wstring& path, ObjectFileInfo& out, std::wstring& error) {
  const QuiescedFile quiet(path);
  OpenedObject object;
  if (const DWORD code = openObject(path, object, error)) {
    if (code != ERROR_INVALID_DATA) return code;
    recoverInterruptedReplace(path);
    OpenedObject again;
    if (openObject(path, again, error) != ERROR_SUCCESS) return code;
    out = std::move(again.info);
    return ERROR_SUCCESS;
  }
  out = std::move(object.info);
  return ERROR_SUCCESS;
}

DWORD verifyObject(const std::wstring& path, std::wstring& error) {
  const QuiescedFile quiet(path);
  OpenedObject object;
  if (const DWORD code = openContent(path, object, error)) return code;
  return readContent(path, object, nullptr, 0, error);
}

}  // namespace workstation
