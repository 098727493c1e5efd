#include "zephor/NotUploadedFiles.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "background/NotUploadedText.h"
#include "host/FileTypes.h"
#include "host/Files.h"
#include "host/Project.h"
#include "host/Trace.h"
#include "host/UserMessages.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace {

constexpr const wchar_t* kListFile = L"NotUploadedFiles.xml";
constexpr const wchar_t* kShownFile = L"NotUploadedFiles.txt";
constexpr int kShownHeadingTextId = 2500124;

using Quorvel::FileAccess::kHighestNotUploaded;
using Quorvel::FileAccess::notUploadedText;
using Quorvel::FileAccess::readNotUploaded;
using Entry = Quorvel::FileAccess::NotUploadedEntry;

/// The list of the process. Everything below but the exported functions expects the lock to be held.
struct NotUploadedState {
  std::mutex lock;
  std::vector<Entry> entries;
  bool loaded = false;  ///< false too when the file is there and could not be read
  std::wstring path;    ///< of the project's file that the entries belong to
};

NotUploadedState& state() {
  // Never destroyed: uploads on other threads may still run at the exit.
  static auto& notUploaded = *new NotUploadedState;
  return notUploaded;
}

using Locked = std::lock_guard<std::mutex>;

/// Full path of the list's file; empty when no project is open.
std::wstring listPath() {
  const std::wstring directory = lfinigC(1);
  return directory.empty() ? std::wstring() : platform::formatWide(L"%s%s", directory, kListFile);
}

/// @return false for a path that the list does not take
bool entryOf(const wchar_t* path, Entry& entry) {
  if (path == nullptr) return false;
  GetTypeFromFilePathName(path, entry.type, entry.number);
  return entry.type == eFileType_Teilbild || entry.type == eFileType_Plan;
}

bool isListed(const Entry& entry) {
  const std::vector<Entry>& entries = state().entries;
  return std::find(entries.begin(), entries.end(), entry) != entries.end();
}

/// Writes the file, unless it holds what could not be read: entries of an earlier run would be lost.
void writeList() {
  const std::wstring path = listPath();
  if (path.empty()) return;
  if (!state().loaded) {
    lfperrC(L"%s: \"%s\" can't be read and is not written over; the list is kept in memory\n", L"NotUploadedFilesList",
            path);
    return;
  }
  if (state().entries.empty()) {
    DeleteFileW(path.c_str());
    return;
  }
  const std::string bytes = platform::toUtf8(notUploadedText(state().entries));
  platform::writeFileAtomically(path, bytes.data(), bytes.size());
}

/// Another project has another list; the one before stands in its file. @return listPath()
std::wstring followProject() {
  NotUploadedState& list = state();
  std::wstring path = listPath();
  if (path.empty()) return path;
  if (!list.path.empty() && path != list.path) {
    list.entries.clear();
    list.loaded = false;
  }
  list.path = path;
  return path;
}

/// Reads the file behind what the list holds. Lines that can't be understood are told to the log and passed over.
void loadOnce() {
  NotUploadedState& list = state();
  const std::wstring path = followProject();
  if (list.loaded || path.empty()) return;
  platform::TextFile file(path, L"r");
  // A file that is there and can't be read now stays unread; the next call tries again.
  list.loaded = file.isOpen() || _waccess(path.c_str(), 0) != 0;
  if (!file.isOpen()) return;
  for (const int line : readNotUploaded(file, list.entries)) {
    lfperrC(L"%s: \"%s\" line %d: expected a file type and a number from 1 to %d; the entry is left out\n",
            L"getNotUploadedFilesList", path, line, kHighestNotUploaded);
  }
}

void clearList() {
  state().entries.clear();
  state().loaded = false;
  state().path.clear();
}

std::wstring shownText(const std::vector<std::wstring>& names) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const std::wstring label = CQuoString().GetQuorvotParText(kShownHeadingTextId, nullptr, 0, 256).text();
  std::wstring text = platform::formatWide(L"Quorvel: %02d.%02d.%4d - %02d:%02d\n%s: %s\n\n", int{now.wDay},
                                           int{now.wMonth}, int{now.wYear}, int{now.wHour}, int{now.wMinute}, label,
                                           get_ActivePrj().GetProjectDisplayName());
  for (const std::wstring& name : names) text += name + L'\n';
  return text;
}

bool writeShownFile(const std::wstring& path, const std::wstring& text) {
  platform::TextFile file(path, L"w,ccs=UTF-8");
  const bool written = file.isOpen() && file.write(text);
  return file.close() && written;
}

}  // namespace

void addEntryToNotUploadedFilesList(const wchar_t* path) {
  Entry entry;
  if (!entryOf(path, entry)) return;
  const Locked guard(state().lock);
  loadOnce();
  if (isListed(entry)) return;
  state().entries.push_back(entry);
  writeList();
}

void removeEntryFromNotUploadedFilesList(const wchar_t* path) {
  Entry entry;
  if (!entryOf(path, entry)) return;
  const Locked guard(state().lock);
  loadOnce();
  std::vector<Entry>& entries = state().entries;
  const auto found = std::find(entries.begin(), entries.end(), entry);
  if (found != entries.end()) entries.erase(found);
}

bool existsEntryInNotUploadedFilesList(const wchar_t* path) {
  Entry entry;
  if (!entryOf(path, entry)) return false;
  const Locked guard(state().lock);
  followProject();
  return isListed(entry);
}

std::size_t getNotUploadedFilesList(std::vector<std::wstring>& names) {
  const Locked guard(state().lock);
  loadOnce();
  names.clear();
  for (const Entry& entry : state().entries) {
    int error = 0;
    std::wstring name = lfznamC(entry.type, entry.number, 0, error);
    if (error == 0) names.push_back(std::move(name));
  }
  return names.size();
}

void closeNotUploadedFilesList() {
  const Locked guard(state().lock);
  followProject();
  if (!state().entries.empty()) loadOnce();
  // A list that nobody has looked at says nothing about its file, which may remember what an earlier run left.
  if (state().loaded || !state().entries.empty()) writeList();
  clearList();
}

void resetNotUploadedFilesList() {
  const Locked guard(state().lock);
  clearList();
}

void deleteXMLFileOfNotUploadedFilesList(bool clearMemory) {
  const Locked guard(state().lock);
  const std::wstring path = listPath();
  if (!path.empty()) DeleteFileW(path.c_str());
  if (clearMemory) clearList();
}

bool showNotUploadedFilesList() {
  std::array<wchar_t, MAX_PATH + 1> directory{};
  const DWORD length = GetTempPathW(static_cast<DWORD>(directory.size()), directory.data());
  if (length == 0 || length >= directory.size()) return false;
  std::vector<std::wstring> names;
  getNotUploadedFilesList(names);
  const std::wstring path = platform::formatWide(L"%s%s", directory.data(), kShownFile);
  if (!writeShownFile(path, shownText(names))) return false;
  constexpr std::intptr_t kHighestError = 32;
  return reinterpret_cast<std::intptr_t>(
             ShellExecuteW(nullptr, L"open", path.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > kHighestError;
}
