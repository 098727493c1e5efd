// Files and directories under their Windows names: open, read, write, copy, move, find, attributes and times.
//
// Paths are library paths (`X:\dir\name`, `\dir\name`); platform/Paths.h says how they become paths of the system and
// how names are looked up. Unless stated otherwise an operation that fails answers FALSE (or the stated value) and sets
// the thread's last error, and one that succeeds leaves the last error alone. All operations may be called from any
// thread; one open handle belongs to one thread at a time.
#pragma once

#include "platform/WindowsTypes.h"

#ifndef _WIN32

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD FILE_WRITE_ATTRIBUTES = 0x100;
constexpr DWORD FILE_SHARE_READ = 0x1;
constexpr DWORD FILE_SHARE_WRITE = 0x2;
constexpr DWORD FILE_SHARE_DELETE = 0x4;
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;
constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;
constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;
constexpr DWORD MOVEFILE_REPLACE_EXISTING = 0x1;
constexpr DWORD MOVEFILE_COPY_ALLOWED = 0x2;

/// Opens or creates a file. Share modes are kept between the handles of this process and, advisory, between processes;
/// the file locks of other software are not looked at, and nothing ever waits. CREATE_ALWAYS and OPEN_ALWAYS set the
/// last error to ERROR_ALREADY_EXISTS when the file was there and to 0 when it is new. CREATE_ALWAYS refuses a hidden
/// or system file (ERROR_ACCESS_DENIED) unless the same attributes are given. A name with one of `<>:"|?*` is never
/// created (ERROR_INVALID_NAME).
/// @return the handle, or INVALID_HANDLE_VALUE
PLATFORM_API HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD shareMode, void* security, DWORD disposition,
                                DWORD flagsAndAttributes, HANDLE templateFile);
/// Closes a handle of any kind of the platform; a handle that is none answers FALSE with ERROR_INVALID_HANDLE.
PLATFORM_API BOOL CloseHandle(HANDLE handle);
PLATFORM_API BOOL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* read, void* overlapped);
PLATFORM_API BOOL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* written, void* overlapped);
PLATFORM_API DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD origin);
PLATFORM_API BOOL SetEndOfFile(HANDLE file);
PLATFORM_API BOOL FlushFileBuffers(HANDLE file);
PLATFORM_API DWORD GetFileSize(HANDLE file, DWORD* sizeHigh);
PLATFORM_API BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* access, FILETIME* write);
/// Sets the times that are not null, exact to 100 ns; a time of 0 or of all ones leaves the file's as it is. The
/// creation time is kept in an attribute of the file where the system has none to set.
PLATFORM_API BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* access, const FILETIME* write);

/// Copies content, write time and attributes; an existing target is replaced unless `failIfExists`. The target is never
/// visible half-written under its name. ERROR_ACCESS_DENIED for a target that is read-only or hidden,
/// ERROR_SHARING_VIOLATION for one that is open without FILE_SHARE_DELETE and for the source itself, ERROR_FILE_EXISTS
/// for one that is there and may not.
PLATFORM_API BOOL CopyFileW(const wchar_t* from, const wchar_t* to, BOOL failIfExists);
/// Moves a file or directory; an existing target is an error (ERROR_ALREADY_EXISTS), but a change of letter case is
/// none. MoveFileW takes a file to another volume by a copy, MoveFileExW does so with MOVEFILE_COPY_ALLOWED. A file
/// that is open without FILE_SHARE_DELETE answers ERROR_SHARING_VIOLATION.
PLATFORM_API BOOL MoveFileW(const wchar_t* from, const wchar_t* to);
PLATFORM_API BOOL MoveFileExW(const wchar_t* from, const wchar_t* to, DWORD flags);
/// Deletes a file, or a link to one. A read-only file answers ERROR_ACCESS_DENIED, a directory too; a file that is open
/// without FILE_SHARE_DELETE answers ERROR_SHARING_VIOLATION.
PLATFORM_API BOOL DeleteFileW(const wchar_t* path);
PLATFORM_API DWORD GetFileAttributesW(const wchar_t* path);
/// Hidden and system live in the extended attribute `user.DOSATTRIB`; read-only is the owner's write permission.
/// A leading dot of a name does not hide the file. A file system that keeps no extended attributes answers
/// ERROR_NOT_SUPPORTED to hidden and system.
PLATFORM_API BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes);
PLATFORM_API BOOL CreateDirectoryW(const wchar_t* path, void* security);
/// Creates a directory with all its parents.
/// @return 0, ERROR_ALREADY_EXISTS when the directory was there, ERROR_FILE_EXISTS when a file has its name,
///         ERROR_BAD_PATHNAME for a relative path, or another error; the last error is not changed
PLATFORM_API int SHCreateDirectoryExW(HWND owner, const wchar_t* path, const void* security);
PLATFORM_API BOOL RemoveDirectoryW(const wchar_t* path);

/// Begins a listing. The last component may hold `*` and `?`, matched without regard to case; `*.*` matches every name.
/// As on Windows `?` also matches nothing before a point and at the end of a name. A directory lists `.` and `..`
/// first, then by name without regard to case. Names that are not valid UTF-8 or hold a backslash are passed over, see
/// platform::namesPassedOver, and so is what is neither file nor directory. A link has FILE_ATTRIBUTE_REPARSE_POINT
/// beside attributes, size and times of its target. A listing that ends with another error than ERROR_NO_MORE_FILES is
/// not whole.
PLATFORM_API HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* data);
PLATFORM_API BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data);
PLATFORM_API BOOL FindClose(HANDLE find);

PLATFORM_API DWORD GetTempPathW(DWORD size, wchar_t* buffer);
/// Path of the running program's file, as a library path. `module` must be null.
PLATFORM_API DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size);

// The runtime's file functions that the system uses beside them; they answer -1 and set errno as the runtime does.
PLATFORM_API int _waccess(const wchar_t* path, int mode);  // NOLINT(bugprone-reserved-identifier)
PLATFORM_API int _wunlink(const wchar_t* path);            // NOLINT(bugprone-reserved-identifier)

#endif

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Path behind an open file handle as the system sees it now (a renamed file gives its new name).
/// @return a library path; empty when the handle is none, or its file was removed
PLATFORM_API std::wstring pathOfHandle(HANDLE file);

/// Names that match a listing's pattern and that it does not list, since no library path can name them: those with a
/// backslash, and those that are not valid UTF-8, whose bad bytes are shown as replacement characters. In no order.
/// @param find  of FindFirstFileW; any other handle gives none
PLATFORM_API std::vector<std::wstring> namesPassedOver(HANDLE find);

/// Size in bytes and times of one file, without opening it.
struct FileStatus {
  bool exists = false;
  bool isDirectory = false;
  std::uint64_t size = 0;
  FILETIME creationTime{};
  FILETIME writeTime{};
};
PLATFORM_API FileStatus fileStatus(const std::wstring& path);

/// Why something is not in the trash, or not all of it.
struct TrashFailure {
  std::string trash;   ///< the trash that was tried last, as a system path; empty when none was
  std::string reason;  ///< the system's text
  /// The trash has a copy, and its original could not be removed whole: what `left` names still lies in `place`.
  bool isInTrash = false;
  std::string place;              ///< where the original lies now, as a system path; empty where it always was
  std::vector<std::string> left;  ///< relative to it
};

/// Bytes that this user may still write below a directory; nothing when the system does not tell.
PLATFORM_API std::optional<std::uint64_t> freeSpace(const std::wstring& directory);

/// Moves a file or directory into the user's trash (freedesktop.org Trash 1.0). Never deletes: without a trash that
/// takes it, it stays. To another volume it is copied, under a name beside its own so that nobody finds it by its path
/// meanwhile; what others write into it all the same stays.
/// @param failure  may be null
/// @param thrown   set to where it lies then, a path of the system; may be null
/// @return 0, or the error; on an error it is still where it was, except as `failure` tells. ERROR_SHARING_VIOLATION
///         when it, or a file below it, is open for somebody who does not let it be deleted, or was written meanwhile
PLATFORM_API DWORD moveToTrash(const std::wstring& path, TrashFailure* failure = nullptr,
                               std::string* thrown = nullptr);
/// Gives what moveToTrash() took its place back. @return false when the place is taken, or can't be reached
PLATFORM_API bool takeFromTrash(const std::string& thrown, const std::wstring& path);

/// Removes a directory with everything below it, read-only files too; links are removed, never followed. Goes on after
/// a failure. The root of a drive is refused (ERROR_ACCESS_DENIED).
/// @return 0, or the first error
PLATFORM_API DWORD removeTree(const std::wstring& path);

/// Writes a file whole or not at all: beside it, synced, then renamed onto its name. Permissions and attributes of a
/// file that is replaced go on; a read-only one answers ERROR_ACCESS_DENIED.
/// @return 0, or the error; the old content then stands unchanged
PLATFORM_API DWORD writeFileAtomically(const std::wstring& path, const void* data, std::size_t size);

/// Reads a whole file of at most `limit` bytes.
/// @return 0, or the error; ERROR_BAD_LENGTH when the file is larger than `limit`
PLATFORM_API DWORD readWholeFile(const std::wstring& path, std::string& content, std::uint64_t limit);

}  // namespace platform
