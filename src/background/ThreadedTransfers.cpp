#include "zephor/ThreadedTransfers.h"

#include <atomic>
#include <cstdio>

#include "background/ThreadedList.h"
#include "background/WriteTimes.h"
#include "host/System.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Time.h"

namespace Quorvel::FileAccess::Threading {
namespace {

constexpr double kBytesPerMegabyte = 1048576.0;

/// On the thread whose list it is: the others ask no more than that one would.
ShareOut shareOutOf(int threads, IZepInetFileTransfer& transfer) {
  auto* const connections = dynamic_cast<IZepInetFileTransferInternal*>(&transfer);
  const bool isSilent = connections != nullptr && connections->getDialogsSuppressed();
  return {threads, connections, isSilent ? &transfer : nullptr};
}

const wchar_t* textOf(const wchar_t* text) {
  return text != nullptr ? text : L"";
}

class ThreadedDownload : private ThreadedList {
 public:
  ThreadedDownload(IZepInetFileTransfer& transfer, int serverPathNr, int objectNumber, bool flag, int localPathNr)
      : ThreadedList(shareOutOf(threads(), transfer)),
        transfer_(transfer),
        serverPathNr_(serverPathNr),
        objectNumber_(objectNumber),
        flag_(flag),
        localPathNr_(localPathNr) {}

  DWORD download(const std::vector<InetFileInfo>& files, const std::wstring& directory, IProgress** progress) {
    return run(
        files.size(), [&](std::size_t index) { return downloadOne(directory, files[index]); },
        [&] { ThreadFunc(files.size()); }, progress);
  }
  DWORD download(const std::vector<ServerFile>& files, IProgress** progress) {
    return run(
        files.size(), [&](std::size_t index) { return downloadOne(files[index].directory, files[index].file); },
        [&] { ThreadFunc(files.size()); }, progress);
  }

 private:
  static int threads() {
    static const int kThreads = allowedThreads();
    return kThreads;
  }

  void ThreadFunc(std::size_t count) { shareOut().ranges(count, *this); }

  DWORD downloadOne(const std::wstring& directory, const InetFileInfo& file) {
    int number = 0;  // 0 asks for a transfer record
    const DWORD start = GetTickCount();
    const DWORD result = transfer_.downloadFile(file.name.c_str(), directory.c_str(), &serverPathNr_, &localPathNr_,
                                                &number, objectNumber_, flag_ ? 1U : 0U);
    if (getFileAccessTrace() > 0) tell(directory, file, GetTickCount() - start);
    return result;
  }

  static void tell(const std::wstring& directory, const InetFileInfo& file, DWORD milliseconds) {
    const std::string line = platform::toUtf8(
        platform::formatWide(L"\ndownload file %s/%s: -- filesize: %.4lf Mb, ellapsed time: %d ms\n", directory,
                             file.name, static_cast<double>(file.size) / kBytesPerMegabyte, milliseconds));
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
  }

  IZepInetFileTransfer& transfer_;
  int serverPathNr_;
  int objectNumber_;
  bool flag_;
  int localPathNr_;
};

class ThreadedUpload : private ThreadedList {
 public:
  /// @param serverDirectory  of the list by names; the other list brings a directory with each file
  ThreadedUpload(IZepInetFileTransfer& transfer, const wchar_t* serverDirectory, int pathNr, bool silent)
      : ThreadedList(shareOutOf(threads(), transfer)),
        transfer_(transfer),
        serverDirectory_(textOf(serverDirectory)),
        pathNr_(pathNr),
        silent_(silent) {}

  DWORD upload(const std::vector<InetFileInfo>& files, IProgress** progress) {
    const DWORD result = run(
        files.size(), [&](std::size_t index) { return uploadOne(files[index]); }, [&] { ThreadFunc1(files); },
        progress);
    SetLastError(notArrived_);
    return result;
  }
  DWORD upload(const std::vector<FileSyncPair>& files, IProgress** progress) {
    return run(
        files.size(), [&](std::size_t index) { return uploadOne(files[index]); }, [&] { ThreadFunc2(files); },
        progress);
  }

 private:
  static int threads() {
    static const int kThreads = allowedThreads();
    return kThreads;
  }

  void ThreadFunc1(const std::vector<InetFileInfo>& files) { shareOut().ranges(files.size(), *this); }
  void ThreadFunc2(const std::vector<FileSyncPair>& files) { shareOut().ranges(files.size(), *this); }

  DWORD uploadOne(const InetFileInfo& file) {
    SetLastError(0);
    const DWORD result = transfer_.uploadFile(file.name.c_str(), serverDirectory_.c_str(), &pathNr_, silent_);
    DWORD none = 0;
    if (const DWORD error = GetLastError(); error != 0) notArrived_.compare_exchange_strong(none, error);
    return result;
  }
  DWORD uploadOne(const FileSyncPair& file) {
    return transfer_.uploadFreeFile(file.first.c_str(), file.second.path.c_str(), &pathNr_, silent_);
  }

  IZepInetFileTransfer& transfer_;
  std::wstring serverDirectory_;
  int pathNr_;
  bool silent_;
  std::atomic<DWORD> notArrived_ = 0;  ///< why the first file did not, which its answer does not tell
};

class ThreadedSyncServer : private ThreadedList {
 public:
  ThreadedSyncServer() : ThreadedList({threads(), nullptr, nullptr}) {}

  DWORD sync(const std::vector<FileSyncPair>& files, IProgress** progress) {
    return run(
        files.size(), [&](std::size_t index) { return syncOne(files[index]); }, [&] { ThreadFunc(files); }, progress);
  }

 private:
  static int threads() {
    static const int kThreads = allowedThreads();
    return kThreads;
  }

  void ThreadFunc(const std::vector<FileSyncPair>& files) { shareOut().elements(files.size(), *this); }

  static DWORD syncOne(const FileSyncPair& pair) {
    const std::wstring& target = pair.first;
    const std::wstring& source = pair.second.path;
    if (!copiesSecond(compareWriteTimes(target, source))) return 0;
    if (CopyFileW(source.c_str(), target.c_str(), FALSE) != FALSE) return 0;
    const DWORD error = GetLastError();
    return error != 0 ? error : ERROR_GEN_FAILURE;
  }
};

}  // namespace

DWORD downloadList(IZepInetFileTransfer& transfer, const std::vector<InetFileInfo>& files,
                   const wchar_t* serverDirectory, int serverPathNr, int objectNumber, bool flag, IProgress** progress,
                   int localPathNr) {
  return ThreadedDownload(transfer, serverPathNr, objectNumber, flag, localPathNr)
      .download(files, textOf(serverDirectory), progress);
}

DWORD downloadList(IZepInetFileTransfer& transfer, const std::vector<ServerFile>& files, int serverPathNr,
                   int objectNumber, bool flag, IProgress** progress, int localPathNr) {
  return ThreadedDownload(transfer, serverPathNr, objectNumber, flag, localPathNr).download(files, progress);
}

DWORD uploadList(IZepInetFileTransfer& transfer, const std::vector<InetFileInfo>& files, const wchar_t* serverDirectory,
                 int pathNr, bool silent, IProgress** progress) {
  return ThreadedUpload(transfer, serverDirectory, pathNr, silent).upload(files, progress);
}

DWORD uploadList(IZepInetFileTransfer& transfer, const std::vector<FileSyncPair>& files, int pathNr, bool silent,
                 IProgress** progress) {
  return ThreadedUpload(transfer, nullptr, pathNr, silent).upload(files, progress);
}

DWORD syncServerList(const std::vector<FileSyncPair>& files, IProgress** progress) {
  return ThreadedSyncServer().sync(files, progress);
}

}  // namespace Quorvel::FileAccess::Threading
