// How fast a server takes data, by the size of the send buffer.
#include <algorithm>
#include <vector>

#include "ftp/FtpConnection.h"
#include "ftp/ServerPaths.h"
#include "host/Trace.h"
#include "platform/Time.h"
#include "toolkit/ByteData.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kName = L"performance.test";

/// Bytes that no compression on the way makes smaller.
CkByteData testData(std::size_t bytes) {
  constexpr std::size_t kPiece = 65536;
  std::vector<std::uint8_t> piece(kPiece);
  std::uint32_t state = 1;
  for (std::uint8_t& byte : piece) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(state >> 24U);
  }
  CkByteData data;
  data.reserve(bytes);
  for (std::size_t done = 0; done < bytes; done += kPiece) data.append(piece.data(), std::min(kPiece, bytes - done));
  return data;
}

}  // namespace

DWORD CZepFtpConnection::WritePerformanceTest(const std::wstring& directory,
                                              std::vector<std::pair<std::int32_t, std::uint64_t>>& passes,
                                              std::size_t bytes) {
  constexpr std::int32_t kFirstSize = 1024;
  constexpr std::int32_t kGrowth = 4;
  passes.clear();
  if (!initialised_ || directory.empty()) return ERROR_INVALID_DATA;
  const CkByteData data = testData(bytes);
  DWORD code = ERROR_SUCCESS;
  for (std::int32_t size = kFirstSize; code == ERROR_SUCCESS && static_cast<std::size_t>(size) < bytes;) {
    size *= kGrowth;
    CTimeTrace timer(timeTraceLevel(),
                     platform::formatWide(L"WritePerformanceTest: BufferSize: %d Kbytes", size / 1024), 1, false, true);
    const ULONGLONG begin = GetTickCount64();
    code = codeOf(retry({[&](RemoteRetryContext& context) { return remote_.changeDirectory(context, directory); },
                         [&](RemoteRetryContext& context) { return remote_.uploadData(context, data, kName, size); }}));
    timer.setBytesRead(remote_.bytesTransferred);
    if (code == ERROR_SUCCESS) passes.emplace_back(size, GetTickCount64() - begin);
  }
  const ScopedSilence silence(retrySettings_, true);
  deleteIn(directory, kName);
  remote_.closeConnection();  // the next client begins with the usual buffer again
  return code;
}

}  // namespace Quorvel::FileAccess
