#include "ftp/ByteCountAndAbort.h"

#include <utility>

#include "ftp/AbortRequest.h"
#include "zephor/Diagnostics.h"
#include "zephor/Service.h"

namespace Quorvel::FileAccess {

void ByteCountAndAbort::onAbortCheck(bool& abort) {
  if (abort_ || isAbortRequested()) abort = true;
}

void ByteCountAndAbort::setLastMessage(const wchar_t* text) {
  lastMessage_ = text != nullptr ? text : L"";
  if (lastMessage_.starts_with(L"STOR ")) isStoreSent_ = true;
}

std::wstring ByteCountAndAbort::takeLastMessage() {
  return std::exchange(lastMessage_, {});
}

void ByteCountAndAbort::onTransferRate(std::int64_t bytesSoFar, std::uint32_t bytesPerSecond) {
  constexpr double kBytesPerMegabyte = 1048576.0;
  if (byteLimit_ == 0 || bytesSoFar <= byteLimit_) return;
  abort_ = true;
  if (WGO_GetTrace() >= 1) ConnectionLogger::traceFmt(0, L"\r%lf MByte/sec\n", bytesPerSecond / kBytesPerMegabyte);
}

}  // namespace Quorvel::FileAccess
