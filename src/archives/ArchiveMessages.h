// How the operations on whole archives talk to the user.
#pragma once

#include <string>

#include "platform/WindowsTypes.h"
#include "toolkit/ZipW.h"

namespace Quorvel::FileAccess {

/// Numbers of the texts for what is done with the entries of an archive.
constexpr int kPackingTextId = 2500482;
constexpr int kUnpackingTextId = 2500483;

std::wstring languageText(int id);
/// Logs and shows a text. @return false, so that a caller can write the call as its own return
bool failWithMessage(const wchar_t* operation, const std::wstring& text);
/// As above, for a path and the system's text of an error.
bool failWithMessage(const wchar_t* operation, const std::wstring& path, DWORD error);
/// Logs the links that an archive to be leaves out.
void logLinks(const wchar_t* operation, const CkZipW& zip);
void showMessage(const std::wstring& text);
/// Whether something that is there may be replaced. False without a question where the host forbids any dialog.
bool askToReplace(const std::wstring& path);

}  // namespace Quorvel::FileAccess
