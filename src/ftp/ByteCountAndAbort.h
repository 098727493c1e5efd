// The receiver of a transfer's progress, which is its abort switch as well.
#pragma once

#include <cstdint>
#include <string>

#include "toolkit/Progress.h"

namespace Quorvel::FileAccess {

class ByteCountAndAbort final : public CkFtp2ProgressW {
 public:
  /// @param byteLimit  the transfer is aborted as soon as more bytes than these have moved; 0 for no limit
  explicit ByteCountAndAbort(std::int64_t byteLimit = 0) : byteLimit_(byteLimit) {}

  void onAbortCheck(bool& abort) override;
  void setLastMessage(const wchar_t* text) override;
  std::wstring takeLastMessage() override;
  void onTransferRate(std::int64_t bytesSoFar, std::uint32_t bytesPerSecond) override;

  bool isAborted() const { return abort_; }
  /// True when the server was told to replace a file.
  bool isStoreSent() const { return isStoreSent_; }

 private:
  bool abort_ = false;
  bool isStoreSent_ = false;
  std::int64_t byteLimit_;
  std::wstring lastMessage_;
};

}  // namespace Quorvel::FileAccess
