#include "core/PathTable.h"

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
  std::wstring previous = entries_[static_cast<std::size_t>(number)];
  entries_[static_cast<std::size_t>(number)] = path;
  if (number == eLocalDataPath) setLocalRoot(path, roots);
  if (number == eServerDataPath) setServerRoot(path, roots);
  return previous;
}

void PathTable::setLocalRoot(const std::wstring& root, const Roots& roots) {
  entries_[ePrjPath] = root + L"\\Prj";
  entries_[eStdPath] = root + L"\\Std";
  entries_[eUsrPath] = root + L"\\Usr";
  entries_[eAdminPath] = root + L"\\Net";
  entries_[kLocalUserPath] = entries_[eUsrPath] + L"\\" + roots.userId;
}

void PathTable::setServerRoot(const std::wstring& root, const Roots& roots) {
  if (!roots.serverIsDirectory) {
    entries_[eServerPrjPath] = root;
    entries_[eServerStdPath].clear();
    entries_[eServerUsrPath].clear();
    entries_[eServerAdminPath].clear();
    // The user's directory on the server stays what it was.
    return;
  }
  entries_[eServerPrjPath] = root + L"\\Prj";
  entries_[eServerStdPath] = root + L"\\Std";
  entries_[eServerUsrPath] = root + L"\\Usr";
  entries_[eServerAdminPath] = root + L"\\Net";
  entries_[kServerUserPath] = entries_[eServerUsrPath] + L"\\" + roots.userId;
}

std::wstring withoutTrailingBackslashes(std::wstring path) {
  path.resize(path.find_last_not_of(L'\\') + 1);
  return path;
}

}  // namespace Quorvel::FileAccess
