#include "core/PathTable.h"

#include <utility>

#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
namespace {

constexpr int kLocalUserPath = 7;
constexpr int kServerUserPath = 15;

struct Name {
  int number;
  const wchar_t* text;
};

constexpr Name kNames[] = {
    {eNoPath, L"eNoPath"},
    {ePrgPath, L"ePrgPath"},
    {eLocalDataPath, L"eLocalDataPath"},
    {ePrjPath, L"ePrjPath"},
    {eStdPath, L"eStdPath"},
    {eUsrPath, L"eUsrPath"},
    {eAdminPath, L"eAdminPath"},
    {eTempPath, L"eTempPath"},
    {eServerDataPath, L"eServerDataPath"},
    {eServerPrjPath, L"eServerPrjPath"},
    {eServerStdPath, L"eServerStdPath"},
    {eServerUsrPath, L"eServerUsrPath"},
    {eServerAdminPath, L"eServerAdminPath"},
};

const wchar_t* nameOf(int number) {
  for (const Name& name : kNames) {
    if (name.number == number) return name.text;
  }
  return nullptr;
}

}  // namespace

bool PathTable::isSettable(int number) {
  return number != eNoPath && nameOf(number) != nullptr;
}

std::wstring PathTable::label(int number) {
  const wchar_t* name = nameOf(number);
  return name != nullptr ? name : std::to_wstring(number);
}

int PathTable::serverNumberOf(int number) {
  switch (number) {
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
      return number + 8;
    case 11:
    case 12:
    case 13:
    case 14:
    case 15:
    case 16:
      return number;
    default:
      return eNoPath;
  }
}

const std::wstring& PathTable::entry(int number) const {
  return number > eNoPath && number <= kLast ? entries_[static_cast<std::size_t>(number)] : entries_[eNoPath];
}

std::wstring PathTable::set(int number, const std::wstring& path, const Roots& roots) {
  if (!isSettable(number)) return kNoPathText;
  std::wstring previous = isSet_.test(static_cast<std::size_t>(number)) ? entry(number) : kNoPathText;
  put(number, path);
  if (number == eLocalDataPath) setLocalRoot(path, roots);
  if (number == eServerDataPath) setServerRoot(path, roots);
  return previous;
}

void PathTable::put(int number, std::wstring path) {
  const auto index = static_cast<std::size_t>(number);
  entries_[index] = std::move(path);
  isSet_.set(index);
}

void PathTable::setLocalRoot(const std::wstring& root, const Roots& roots) {
  put(ePrjPath, root + L"\\Prj");
  put(eStdPath, root + L"\\Std");
  put(eUsrPath, root + L"\\Usr");
  put(eAdminPath, root + L"\\Net");
  put(kLocalUserPath, entry(eUsrPath) + L"\\" + roots.userId);
}

void PathTable::setServerRoot(const std::wstring& root, const Roots& roots) {
  if (!roots.serverIsDirectory) {
    put(eServerPrjPath, root);
    // The user's directory on the server stays what it was.
    for (const int number : {eServerStdPath, eServerUsrPath, eServerAdminPath}) put(number, L"");
    return;
  }
  put(eServerPrjPath, root + L"\\Prj");
  put(eServerStdPath, root + L"\\Std");
  put(eServerUsrPath, root + L"\\Usr");
  put(eServerAdminPath, root + L"\\Net");
  put(kServerUserPath, entry(eServerUsrPath) + L"\\" + roots.userId);
}

std::wstring withoutTrailingBackslashes(std::wstring path) {
  path.resize(path.find_last_not_of(L'\\') + 1);
  return path;
}

}  // namespace Quorvel::FileAccess
