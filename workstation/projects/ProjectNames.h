// Names of project directories and of the files in them.
#pragma once

#include <string>

class PRJ;

namespace workstation {

constexpr const wchar_t* kDescriptorFile = L"Project1.Dat.xml";
constexpr const wchar_t* kUserFile = L"user.cfg";

/// True for the name of one directory: no separator, no `..`, no control character, at most 50 characters.
/// An ending ".prj" may be there.
bool isSafeDirectoryName(const std::wstring& name);

/// The name with ".prj" behind it unless it ends so in any letter case, and the reverse.
std::wstring withProjectEnding(const std::wstring& name);
std::wstring withoutProjectEnding(const std::wstring& name);

/// Directory of a project below a host's root, whether or not the host is known; empty for an unsafe name.
std::wstring projectDirectory(const std::wstring& host, const std::wstring& directoryName);

/// Cuts a text to an array with its terminator.
template <std::size_t Size>
void copyText(wchar_t (&target)[Size], const std::wstring& text) {
  const std::size_t length = text.copy(target, Size - 1);
  target[length] = L'\0';
}

/// The text of an array that may lack its terminator.
template <std::size_t Size>
std::wstring textOf(const wchar_t (&source)[Size]) {
  std::size_t length = 0;
  while (length < Size && source[length] != L'\0') ++length;
  return std::wstring(source, length);
}

}  // namespace workstation
