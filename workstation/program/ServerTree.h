// What a directory and its sub-directories hold, on the server and here.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/WindowsTypes.h"

namespace workstation::program {

class ServerSession;

/// A file by its directory below the root of a listing, separated by `/`; empty for the root itself.
struct TreeFile {
  std::wstring directory;
  std::wstring name;
  std::int64_t size = 0;
  FILETIME time{};
  bool interrupted = false;  ///< here only: an upload of it did not come to its end

  std::wstring path() const { return directory.empty() ? name : directory + L"/" + name; }
};

struct Tree {
  std::vector<TreeFile> files;
  std::vector<std::wstring> directories;  ///< parents first
  std::vector<std::wstring> passedOver;   ///< one line each: what is neither listed nor moved, and why
};

/// Name that the transfer object gives to the copy beside a file that it sends; one that is left tells that the upload
/// did not come to its end.
constexpr const wchar_t* kSendingSuffix = L".upload";
constexpr const wchar_t* kFetchingSuffix = L".part";

/// Lists a directory below the server's base, without the locks of objects. Names that can't be files here are passed
/// over.
/// @return 0 or the error; 3 when the directory is not there
unsigned long listServerTree(ServerSession& session, const std::wstring& directory, bool recursive, Tree& out);
/// Lists a directory of this machine (a path of the system), without the locks of objects. Links to directories, names
/// that no other workstation can hold and what transfers have left behind are passed over. Throws CommandFailure when
/// it can't be read.
void listLocalTree(const std::string& directory, bool recursive, Tree& out);

}  // namespace workstation::program
