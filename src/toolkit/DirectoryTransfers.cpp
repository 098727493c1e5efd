// Transfers of a plain directory.

#include <algorithm>
#include <new>

#include "platform/Files.h"
#include "platform/Text.h"
#include "toolkit/ArrivingFile.h"
#include "toolkit/ByteData.h"
#include "toolkit/OpenFile.h"
#include "toolkit/PlainDirectory.h"
#include "toolkit/TransferMeter.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::int32_t kPieceForNone = 65535;
constexpr std::int32_t kSmallestPiece = 300;
constexpr std::int32_t kLargestPiece = 3000000;

}  // namespace

/// Reads a source to its end and gives it to `sink`, which answers false to stop with the thread's last error.
///
/// @param expected  bytes that the source has to give
template <typename Sink>
bool DirectoryClient::send(const OpenFile& source, const std::wstring& sourcePath, std::uint64_t expected,
                           TransferMeter& meter, const Sink& sink) {
  buffer_.resize(static_cast<std::size_t>(piece_));
  std::uint64_t done = 0;
  for (;;) {
    if (isAbortWanted()) return fail(ERROR_OPERATION_ABORTED, sourcePath);
    DWORD count = 0;
    if (!source.read(buffer_.data(), static_cast<DWORD>(buffer_.size()), count)) return failed(sourcePath);
    if (count == 0) break;
    done += count;
    if (!sink(buffer_.data(), count)) return false;
    bytesOfLastTransfer_ = meter.add(count);
    // One that grows without end would be read without end.
    if (done > expected) break;
  }
  if (done == expected) return true;
  return reply(eReply_LocalError,
               platform::formatWide(L"\"%s\" changed while it was read: %llu bytes instead of %llu", sourcePath,
                                    static_cast<unsigned long long>(done), static_cast<unsigned long long>(expected)));
}

bool DirectoryClient::GetFile(const wchar_t* remote, const wchar_t* local) {
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"GetFile", remote, local)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  const std::wstring target = local != nullptr ? local : L"";
  const OpenFile source(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!source.isOpen()) return failed(path);
  OpenFile file(target, GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS);
  if (!file.isOpen()) return failed(target);
  // Emptied, the local file would take what is to be read with it.
  const std::wstring opened = platform::pathOfHandle(source.handle());
  if (!opened.empty() && opened == platform::pathOfHandle(file.handle())) return fail(ERROR_SHARING_VIOLATION, path);
  if (!file.empty()) return failed(target);
  TransferMeter meter(receiver_);
  const auto sink = [&](const char* data, DWORD size) { return file.write(data, size) || failed(target); };
  if (!send(source, path, source.size(), meter, sink)) return false;
  return file.close() ? reply(eReply_TransferDone, L"sent") : failed(target);
}

bool DirectoryClient::PutFile(const wchar_t* local, const wchar_t* remote) {
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"PutFile", local, remote)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  const std::wstring sourcePath = local != nullptr ? local : L"";
  const OpenFile source(sourcePath, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!source.isOpen()) return failed(sourcePath);
  ArrivingFile file(path);
  if (!file.isOpen()) return failed(path);
  TransferMeter meter(receiver_);
  const auto sink = [&](const char* data, DWORD size) { return file.write(data, size) || failed(path); };
  if (!send(source, sourcePath, source.size(), meter, sink)) return false;
  return arrive(file, path, meter);
}

bool DirectoryClient::arrive(ArrivingFile& file, const std::wstring& path, TransferMeter& meter) {
  listing_.reset();
  if (!file.takePlace()) return failed(path);
  return reply(eReply_TransferDone,
               platform::formatWide(L"%lld bytes received", static_cast<long long>(meter.bytes())));
}

bool DirectoryClient::GetRemoteFileBinaryData(const wchar_t* remote, CkByteData& out) {
  const std::uint64_t offset = restart_;
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"GetRemoteFileBinaryData", remote)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  const OpenFile source(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
  if (!source.isOpen()) return failed(path);
  const std::uint64_t size = source.size();
  if (offset > 0 && !source.seek(offset)) return failed(path);
  TransferMeter meter(receiver_);
  const auto sink = [&](const char* data, DWORD count) {
    try {
      out.append(data, count);
      return true;
    } catch (const std::bad_alloc&) {
      return fail(ERROR_NOT_ENOUGH_MEMORY, path);
    }
  };
  const bool isSent = send(source, path, size > offset ? size - offset : 0, meter, sink);
  return isSent && reply(eReply_TransferDone, L"sent");
}

bool DirectoryClient::PutFileFromBinaryData(const wchar_t* remote, const CkByteData& data) {
  restart_ = 0;
  bytesOfLastTransfer_ = 0;
  if (!begin(L"PutFileFromBinaryData", remote)) return false;
  const std::wstring path = fileOf(remote);
  if (path.empty()) return false;
  ArrivingFile file(path);
  if (!file.isOpen()) return failed(path);
  TransferMeter meter(receiver_);
  for (std::size_t done = 0; done < data.getSize();) {
    if (isAbortWanted()) return fail(ERROR_OPERATION_ABORTED, path);
    const auto count =
        static_cast<DWORD>(std::min<std::size_t>(data.getSize() - done, static_cast<std::size_t>(piece_)));
    if (!file.write(data.getData() + done, count)) return failed(path);
    done += count;
    bytesOfLastTransfer_ = meter.add(count);
  }
  return arrive(file, path, meter);
}

void DirectoryClient::put_SendBufferSize(std::int32_t bytes) {
  piece_ = bytes < 1 ? kPieceForNone : std::clamp(bytes, kSmallestPiece, kLargestPiece);
}

}  // namespace Quorvel::FileAccess
