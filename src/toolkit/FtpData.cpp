#include "toolkit/FtpData.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "platform/Messages.h"
#include "platform/Text.h"
#include "toolkit/ByteData.h"

namespace Quorvel::FileAccess {

namespace {

constexpr std::size_t kFileBufferBytes = std::size_t{256} * 1024;
constexpr std::size_t kLineBufferBytes = std::size_t{64} * 1024;
// More than any directory's listing has; a server that never ends one is not listened to for ever.
constexpr std::uint64_t kMostListingBytes = std::uint64_t{4} << 30U;

std::string systemText(DWORD code) {
  wchar_t text[512] = L"";
  FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0, text, 512, nullptr);
  std::wstring line = text;
  while (!line.empty() && (line.back() == L'\n' || line.back() == L'\r')) line.pop_back();
  return platform::toUtf8(line) + " (" + std::to_string(code) + ")";
}

}  // namespace

FtpFileSink::FtpFileSink(std::wstring path, std::vector<char>& buffer) : path_(std::move(path)), buffer_(buffer) {
  if (buffer_.size() < kFileBufferBytes) buffer_.resize(kFileBufferBytes);
}

bool FtpFileSink::fail() {
  error_ = "can't write " + platform::toUtf8(path_) + ": " + systemText(GetLastError());
  return false;
}

bool FtpFileSink::open() {
  if (file_) return file_->isOpen();
  file_.emplace(path_, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS);
  return file_->isOpen() || fail();
}

FtpSpace FtpFileSink::space() {
  return {buffer_.data() + used_, buffer_.size() - used_};
}

bool FtpFileSink::filled(std::size_t bytes) {
  if (!open()) return false;
  used_ += bytes;
  return used_ < buffer_.size() || write();
}

bool FtpFileSink::write() {
  const std::size_t size = used_;
  used_ = 0;
  return size == 0 || file_->write(buffer_.data(), static_cast<DWORD>(size)) || fail();
}

bool FtpFileSink::finish(bool isReceived) {
  if (!error_.empty() || (!file_ && !isReceived) || !open()) return false;
  // A full disk of the network kind is told at the close.
  return write() && (file_->close() || fail());
}

FtpMemorySink::FtpMemorySink(CkByteData& out, std::vector<char>& buffer) : out_(out), buffer_(buffer) {
  if (buffer_.size() < kFileBufferBytes) buffer_.resize(kFileBufferBytes);
}

FtpSpace FtpMemorySink::space() {
  return {buffer_.data(), buffer_.size()};
}

bool FtpMemorySink::filled(std::size_t bytes) {
  try {
    out_.append(buffer_.data(), bytes);
    return true;
  } catch (const std::bad_alloc&) {
    error_ = "there is not enough memory for the file";
  } catch (const std::length_error&) {
    error_ = "the file is larger than memory can be";
  }
  return false;
}

FtpLineSink::FtpLineSink(std::function<void(std::string_view)> onLine)
    : onLine_(std::move(onLine)), buffer_(kLineBufferBytes) {}

FtpSpace FtpLineSink::space() {
  if (used_ == buffer_.size()) {
    used_ = 0;
    isLineTooLong_ = true;
  }
  return {buffer_.data() + used_, buffer_.size() - used_};
}

bool FtpLineSink::filled(std::size_t bytes) {
  const std::string_view all(buffer_.data(), used_ + bytes);
  std::size_t begin = 0;
  std::size_t end = all.find('\n', used_);
  while (end != std::string_view::npos) {
    take(all.substr(begin, end - begin));
    begin = end + 1;
    end = all.find('\n', begin);
  }
  used_ = all.size() - begin;
  std::memmove(buffer_.data(), buffer_.data() + begin, used_);
  taken_ += bytes;
  if (taken_ > kMostListingBytes) refuse("the listing does not end");
  return error_.empty();
}

bool FtpLineSink::finish(bool /*isReceived*/) {
  if (used_ > 0) take({buffer_.data(), used_});
  used_ = 0;
  return error_.empty();
}

void FtpLineSink::take(std::string_view line) {
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  if (isLineTooLong_) ++dropped_;
  if (!line.empty() && !isLineTooLong_) onLine_(line);
  isLineTooLong_ = false;
}

FtpFileSource::FtpFileSource(const std::wstring& path, std::vector<char>& buffer, std::size_t pieceBytes)
    : path_(path),
      file_(path, GENERIC_READ, kShareAll, OPEN_EXISTING),
      buffer_(buffer),
      pieceBytes_(std::max<std::size_t>(pieceBytes, 1)) {
  if (!file_.isOpen()) {
    fail(systemText(GetLastError()));
    return;
  }
  sizeAtOpening_ = file_.size();
  if (buffer_.size() < pieceBytes_) buffer_.resize(pieceBytes_);
}

bool FtpFileSource::fail(const std::string& text) {
  error_ = "can't read " + platform::toUtf8(path_) + ": " + text;
  return false;
}

std::string_view FtpFileSource::next() {
  if (begin_ < end_) return {buffer_.data() + begin_, end_ - begin_};
  if (isAtEnd_ || failed()) return {};
  DWORD bytes = 0;
  if (!file_.read(buffer_.data(), static_cast<DWORD>(pieceBytes_), bytes)) {
    fail(systemText(GetLastError()));
    return {};
  }
  read_ += bytes;
  begin_ = 0;
  end_ = bytes;
  isAtEnd_ = bytes < pieceBytes_;
  // Half of an old and half of a new drawing is worse than a transfer that has to be repeated.
  const bool isChanged = isAtEnd_ ? read_ != sizeAtOpening_ : read_ > sizeAtOpening_;
  if (isChanged) {
    fail("its size changed during the transfer");
    return {};
  }
  return {buffer_.data(), end_};
}

FtpMemorySource::FtpMemorySource(const CkByteData& data, std::size_t pieceBytes)
    : left_(reinterpret_cast<const char*>(data.getData()), data.getSize()), pieceBytes_(pieceBytes) {}

std::string_view FtpMemorySource::next() {
  return left_.substr(0, pieceBytes_);
}

}  // namespace Quorvel::FileAccess
