#include "toolkit/ZipStorage.h"

#include <algorithm>
#include <cstring>

namespace Quorvel::FileAccess {

namespace {

// The largest piece of one system call.
constexpr std::size_t kPiece = std::size_t{1} << 30U;

}  // namespace

bool ZipMemoryInput::read(std::uint64_t position, void* buffer, std::size_t count, std::size_t& read) {
  read = position >= data_.getSize() ? 0 : std::min(count, data_.getSize() - static_cast<std::size_t>(position));
  if (read > 0) std::memcpy(buffer, data_.getData() + position, read);
  return true;
}

bool ZipFileInput::open() {
  file_.emplace(path_, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING);
  if (!file_->isOpen()) return false;
  size_ = file_->size();
  position_ = 0;
  return true;
}

bool ZipFileInput::read(std::uint64_t position, void* buffer, std::size_t count, std::size_t& read) {
  read = 0;
  if (!file_) {
    const std::uint64_t before = size_;
    if (!open()) return false;
    if (size_ != before) {
      SetLastError(ERROR_INVALID_DATA);
      return false;
    }
  }
  if (position != position_ && !file_->seek(position)) return false;
  position_ = position;
  while (read < count) {
    DWORD got = 0;
    const auto wanted = static_cast<DWORD>(std::min(count - read, kPiece));
    if (!file_->read(static_cast<char*>(buffer) + read, wanted, got)) return false;
    if (got == 0) break;
    read += got;
    position_ += got;
  }
  return true;
}

bool ZipMemoryOutput::begin() {
  bytes_.clear();
  position_ = 0;
  return true;
}

bool ZipMemoryOutput::write(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  const std::size_t over = std::min(size, bytes_.size() - position_);
  if (over > 0) std::memcpy(bytes_.data() + position_, bytes, over);
  bytes_.insert(bytes_.end(), bytes + over, bytes + size);
  position_ += size;
  return true;
}

bool ZipMemoryOutput::seek(std::uint64_t position) {
  if (position > bytes_.size()) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  position_ = static_cast<std::size_t>(position);
  return true;
}

bool ZipFileOutput::begin() {
  file_.emplace(path_);
  position_ = 0;
  size_ = 0;
  return file_->isOpen();
}

bool ZipFileOutput::write(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  for (std::size_t done = 0; done < size;) {
    const auto piece = static_cast<DWORD>(std::min(size - done, kPiece));
    if (!file_->write(bytes + done, piece)) return false;
    done += piece;
  }
  position_ += size;
  size_ = std::max(size_, position_);
  return true;
}

bool ZipFileOutput::seek(std::uint64_t position) {
  if (!file_->seek(position)) return false;
  position_ = position;
  return true;
}

}  // namespace Quorvel::FileAccess
