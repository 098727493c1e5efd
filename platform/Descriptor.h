// A file descriptor with an owner, and reads and writes that survive interruption. Internal to the platform.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <utility>

namespace platform {

/// Owns a descriptor of the system; -1 is none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() { static_cast<void>(close()); }
  Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      static_cast<void>(close());
      fd_ = other.release();
    }
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }
  /// @return false with errno when data written before could not be stored
  bool close();

 private:
  int fd_ = -1;
};

/// Reads until `size` bytes or the end of the file.
/// @return bytes read, or -1 with errno; `done` then tells how many came before the failure
ssize_t readFully(int fd, void* buffer, std::size_t size, std::size_t& done);

/// Writes all bytes.
/// @return false with errno; `done` tells how many were written
bool writeFully(int fd, const void* data, std::size_t size, std::size_t& done);

}  // namespace platform
