// The host's file layer: path numbers, names of object files, directories.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "host/Export.h"

/// The host's path number as text, ended by a backslash where it names a directory that is set; empty when it is not
/// set. Numbers in use: 1 the open project's directory, 8 and 18 the project administration data, 29 the office
/// standard, 30 a second administration path, 41 the root below which cloud project descriptors live (41 alone has no
/// backslash at its end).
HOST_API std::wstring lfinigC(int pathNumber);
/// Sets a path number for the process; within a scope of ScopedPathPut for that number, for the scope.
HOST_API void lfinipC(int pathNumber, const std::wstring& path);

/// Makes a host path number read as another path on this thread, until the scope ends. Scopes nest.
class HOST_API ScopedPathPut {
 public:
  ScopedPathPut(int pathNumber, const std::wstring& path);
  ~ScopedPathPut();
  ScopedPathPut(const ScopedPathPut&) = delete;
  ScopedPathPut& operator=(const ScopedPathPut&) = delete;

 private:
  int pathNumber_;
};

/// File name of object `number` of a type. @param error  0, or the host's error number (87 bad type or number)
HOST_API std::wstring lfznamC(int type, int number, int flags, int& error);
/// Full path of a project file name. @param pathNumber  1: the open project. @return 0 on success
HOST_API int lffnamC(int pathNumber, const std::wstring& name, std::wstring& path);

/// Root of the data; program directories are below ZSYST_.
HOST_API std::wstring get_data_path();

/// Directories; 0 is success.
HOST_API int ldirmkc(const std::wstring& directory);
HOST_API int ldirrmc(const std::wstring& directory);
HOST_API int ldircpRAW(const std::wstring& from, const std::wstring& to, int flags);

/// Files through the host's layer; 0 is success. lfilopC gives a handle that lfilclC closes.
/// @param mode  0 reads, 1 writes into an existing file, 2 makes the file anew
HOST_API int lfilopC(const std::wstring& path, int mode, int& handle);
HOST_API int lfilclC(int handle);
HOST_API int lfilrmC(const std::wstring& path);
HOST_API int lfilmvC(const std::wstring& from, const std::wstring& to);

/// Appends a path separator if none is there.
HOST_API void lfslash_cat(std::wstring& path);
/// Directory (with its backslash) and name. @return false when the path holds no name
HOST_API bool lfSplitPath(const std::wstring& path, std::wstring& directory, std::wstring& name);
/// Deletes a path into the recycle bin. @return true when it is gone from where it was
HOST_API bool moveFileToWindowsRecycleBin(const std::wstring& path);

/// Numbers of the objects in the project folder.
/// @param pathNumber  with `fromServer` 1
/// @param loadObject  1 Teilbilder, 2 Plans, 3 Zeichnungen
/// @param fromServer  the transfer object's project on its server, which is one of the older store (50 when it is not)
/// @return 0, or an error code; `out` is then untouched
HOST_API int ListFilesInFolder(int pathNumber, int loadObject, std::set<int>& out, bool fromServer);

struct HOST_API CDirectoryUtility {
  /// Size in bytes, -1 when there is no such file.
  static std::int64_t GetFileSize(const std::wstring& path);
  static std::wstring GetFileNameFromPath(const std::wstring& path);
};
