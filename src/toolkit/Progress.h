// What a transfer tells while it runs, and where it asks whether to go on.
//
// The client calls a receiver on the thread that called the operation, and only during that operation. Operations that
// a receiver does not override do nothing.
#pragma once

#include <cstdint>
#include <string>

namespace Quorvel::FileAccess {

class CkObject {
 public:
  CkObject() = default;
  virtual ~CkObject() = default;
  CkObject(const CkObject&) = delete;
  CkObject& operator=(const CkObject&) = delete;
};

class CkBaseProgressW : public CkObject {
 public:
  /// Asked at every heartbeat, also while no data flows. Setting `abort` ends the operation with a failure.
  virtual void onAbortCheck(bool& /*abort*/) {}
  virtual void onBegin(const wchar_t* /*operation*/) {}
  virtual void onEnd(const wchar_t* /*operation*/, bool /*success*/) {}
  virtual void onPercentDone(int /*percent*/, bool& /*abort*/) {}
  virtual void onInfo(const wchar_t* /*name*/, const wchar_t* /*value*/) {}
  virtual void onWarning(const wchar_t* /*text*/) {}
  /// Takes a text of the client: a command sent, without its secrets, or a reply.
  virtual void setLastMessage(const wchar_t* /*text*/) {}
  /// @return the last text, which is then forgotten
  virtual std::wstring takeLastMessage() { return {}; }
};

class CkFtp2ProgressW : public CkBaseProgressW {
 public:
  virtual void onBeginDownload(const wchar_t* /*name*/) {}
  virtual void onEndDownload(const wchar_t* /*name*/, std::int64_t /*bytes*/) {}
  virtual void onBeginUpload(const wchar_t* /*name*/) {}
  virtual void onEndUpload(const wchar_t* /*name*/, std::int64_t /*bytes*/) {}
  virtual void onBeginListing(const wchar_t* /*directory*/) {}
  virtual void onEndListing(const wchar_t* /*directory*/, std::int32_t /*entries*/) {}
  virtual void onReply(int /*code*/, const wchar_t* /*text*/) {}
  /// Called as bytes of the transfer arrive or leave, at least once for each that moved any.
  virtual void onTransferRate(std::int64_t /*bytesSoFar*/, std::uint32_t /*bytesPerSecond*/) {}
};

}  // namespace Quorvel::FileAccess
