#include "workstation/program/ProjectRecord.h"

#include "platform/Files.h"
#include "platform/Paths.h"

namespace workstation::program {

namespace {

constexpr const wchar_t* kStateDirectory = L"C:\\State";
constexpr int kBusyMilliseconds = 10000;

}  // namespace

Database openProjectRecord(const std::wstring& projectUuid, const char* schema, std::string& path, std::string& error) {
  SHCreateDirectoryExW(nullptr, kStateDirectory, nullptr);
  path = platform::systemPath(platform::joinPath(kStateDirectory, projectUuid + L".db3"));
  sqlite3* raw = nullptr;
  const int result = sqlite3_open(path.c_str(), &raw);
  Database database(raw);
  if (result == SQLITE_OK) sqlite3_busy_timeout(raw, kBusyMilliseconds);
  if (result == SQLITE_OK && sqlite3_exec(raw, schema, nullptr, nullptr, nullptr) == SQLITE_OK) return database;
  error = raw != nullptr ? sqlite3_errmsg(raw) : "out of memory";
  return nullptr;
}

}  // namespace workstation::program
