// The automatic backup: copies of object files in the project's directory "Backup", which no transfer carries.
#include "host/ObjectFiles.h"
#include "host/Trace.h"
#include "platform/Durable.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/objects/OpenFiles.h"

namespace {

std::wstring timestamp() {
  SYSTEMTIME time{};
  GetLocalTime(&time);
  return platform::formatWide(L"%04d%02d%02d-%02d%02d%02d", int{time.wYear}, int{time.wMonth}, int{time.wDay},
                              int{time.wHour}, int{time.wMinute}, int{time.wSecond});
}

}  // namespace

bool autoBackup::createBackup(const std::wstring& path, QuorvelFileType /*type*/) {
  constexpr int kTries = 100;
  const std::wstring directory = platform::joinPath(platform::directoryOf(path), L"Backup");
  const int made = SHCreateDirectoryExW(nullptr, directory.c_str(), nullptr);
  if (made != 0 && made != static_cast<int>(ERROR_ALREADY_EXISTS)) {
    lfperrC(L"%s: the backup directory can't be made (error %d)\n", directory, made);
    return false;
  }
  const std::wstring target = platform::joinPath(directory, platform::fileNameOf(path) + L"." + timestamp());
  const workstation::QuiescedFile quiet(path);
  DWORD error = ERROR_SUCCESS;
  for (int i = 0; i < kTries; ++i) {
    // Several backups of one second stand beside each other.
    const std::wstring name = i == 0 ? target : platform::formatWide(L"%s-%d", target, i);
    if (CopyFileW(path.c_str(), name.c_str(), TRUE) != FALSE) {
      // It is the only one as soon as the file is replaced.
      error = platform::makeDurable(platform::directoryOf(path),
                                    {platform::joinPath(L"Backup", platform::fileNameOf(name))});
      if (error == ERROR_SUCCESS) return true;
      break;
    }
    error = GetLastError();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) break;
  }
  lfperrC(L"%s: no backup could be made (error %u)\n", path, error);
  return false;
}
