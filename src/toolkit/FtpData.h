// Where the bytes of a transfer go to and come from: files, memory, lines of a listing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/OpenFile.h"

namespace Quorvel::FileAccess {

class CkByteData;

struct FtpSpace {
  char* data = nullptr;
  std::size_t size = 0;
};

/// Takes the bytes of a download. It offers space, which the transfer fills.
class FtpSink {
 public:
  virtual ~FtpSink() = default;
  /// Space for more bytes; of size 0 on a failure.
  virtual FtpSpace space() = 0;
  /// @return false when they could not be kept
  virtual bool filled(std::size_t bytes) = 0;
  /// The transfer is over. One that failed leaves what arrived, and nothing where nothing was asked for.
  /// @return false when not all is kept
  virtual bool finish(bool /*isReceived*/) { return true; }
  /// Why it failed.
  virtual std::string error() const { return {}; }
};

/// Gives the bytes of an upload.
class FtpSource {
 public:
  virtual ~FtpSource() = default;
  /// Bytes that follow; none at the end, and on a failure, which `failed` tells.
  virtual std::string_view next() = 0;
  virtual void consumed(std::size_t bytes) = 0;
  virtual bool failed() const { return false; }
  virtual std::string error() const { return {}; }
};

/// A file, made anew when the first bytes arrive: a download that is refused leaves the old file alone.
class FtpFileSink final : public FtpSink {
 public:
  /// @param buffer  lent; kept from one transfer to the next
  FtpFileSink(std::wstring path, std::vector<char>& buffer);
  FtpSpace space() override;
  bool filled(std::size_t bytes) override;
  bool finish(bool isReceived) override;
  std::string error() const override { return error_; }

 private:
  bool open();
  bool write();
  bool fail();

  std::wstring path_;
  std::vector<char>& buffer_;
  std::size_t used_ = 0;
  std::optional<OpenFile> file_;
  std::string error_;
};

class FtpMemorySink final : public FtpSink {
 public:
  FtpMemorySink(CkByteData& out, std::vector<char>& buffer);
  FtpSpace space() override;
  bool filled(std::size_t bytes) override;
  std::string error() const override { return error_; }

 private:
  CkByteData& out_;
  std::vector<char>& buffer_;
  std::string error_;
};

/// Calls back for each line, without its end. A line longer than any path can be is left out.
class FtpLineSink final : public FtpSink {
 public:
  explicit FtpLineSink(std::function<void(std::string_view)> onLine);
  FtpSpace space() override;
  bool filled(std::size_t bytes) override;
  bool finish(bool isReceived) override;
  std::string error() const override { return error_; }
  /// For `onLine`: no more is wanted, and the transfer fails.
  void refuse(std::string why) { error_ = std::move(why); }
  /// Lines left out.
  std::size_t dropped() const { return dropped_; }

 private:
  void take(std::string_view line);

  std::function<void(std::string_view)> onLine_;
  std::vector<char> buffer_;
  std::size_t used_ = 0;
  std::uint64_t taken_ = 0;
  std::size_t dropped_ = 0;
  bool isLineTooLong_ = false;
  std::string error_;
};

class FtpFileSource final : public FtpSource {
 public:
  FtpFileSource(const std::wstring& path, std::vector<char>& buffer, std::size_t pieceBytes);
  bool isOpen() const { return file_.isOpen(); }
  std::string_view next() override;
  void consumed(std::size_t bytes) override { begin_ += bytes; }
  bool failed() const override { return !error_.empty(); }
  std::string error() const override { return error_; }

 private:
  bool fail(const std::string& text);

  std::wstring path_;
  OpenFile file_;
  std::vector<char>& buffer_;
  std::size_t pieceBytes_;
  std::uint64_t sizeAtOpening_ = 0;
  std::uint64_t read_ = 0;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool isAtEnd_ = false;
  std::string error_;
};

class FtpMemorySource final : public FtpSource {
 public:
  FtpMemorySource(const CkByteData& data, std::size_t pieceBytes);
  std::string_view next() override;
  void consumed(std::size_t bytes) override { left_.remove_prefix(bytes); }

 private:
  std::string_view left_;
  std::size_t pieceBytes_;
};

}  // namespace Quorvel::FileAccess
