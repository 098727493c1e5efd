// The dispatch of libzip's source commands to an object. Internal to the toolkit.
#pragma once

#include <new>

#include "platform/Files.h"
#include "toolkit/ZipSources.h"

namespace Quorvel::FileAccess {

/// Base of a source: keeps the error that libzip asks for, and lets no exception into libzip.
class ZipSource {
 public:
  explicit ZipSource(ZipRun& run) : run_(run) { zip_error_init(&error_); }
  virtual ~ZipSource() { zip_error_fini(&error_); }
  ZipSource(const ZipSource&) = delete;
  ZipSource& operator=(const ZipSource&) = delete;

  /// Hands the object over to a source of libzip, which deletes it at its end. @return null when there is no memory
  static ZipSourceHandle handOver(std::unique_ptr<ZipSource> source);

 protected:
  /// @return what libzip expects of the command; negative after fail()
  virtual zip_int64_t handle(void* data, zip_uint64_t length, zip_source_cmd_t command) = 0;
  zip_int64_t fail(int code, const std::wstring& reason) {
    if (run_.failure.empty()) run_.failure = reason;
    zip_error_set(&error_, code, 0);
    return -1;
  }
  zip_int64_t failWithLastError(int code, const std::wstring& what) {
    return fail(code, what + L": " + systemReason(GetLastError()));
  }
  /// @return false, after fail(), when the caller's object ended the operation
  bool tell(std::uint64_t bytes) {
    if (run_.meter == nullptr || run_.meter->add(bytes)) return true;
    fail(ZIP_ER_CANCELLED, L"ended by the caller");
    return false;
  }
  zip_error_t* error() { return &error_; }
  ZipRun& run() { return run_; }

 private:
  static zip_int64_t dispatch(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command) noexcept;

  ZipRun& run_;
  zip_error_t error_{};
};

}  // namespace Quorvel::FileAccess
