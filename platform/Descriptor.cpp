#include "platform/Descriptor.h"

#include <unistd.h>

#include <cerrno>

namespace platform {

bool Descriptor::close() {
  const int fd = release();
  // An interrupted close has closed all the same.
  return fd < 0 || ::close(fd) == 0 || errno == EINTR;
}

ssize_t readFully(int fd, void* buffer, std::size_t size, std::size_t& done) {
  done = 0;
  while (done < size) {
    const ssize_t count = ::read(fd, static_cast<char*>(buffer) + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

bool writeFully(int fd, const void* data, std::size_t size, std::size_t& done) {
  done = 0;
  while (done < size) {
    const ssize_t count = ::write(fd, static_cast<const char*>(data) + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    if (count == 0) {
      errno = EIO;
      return false;
    }
    done += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace platform
