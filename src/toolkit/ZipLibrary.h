// What the room's zip files share of libzip: owned handles and texts of failures. Internal to the toolkit.
//
// Functions that can fail answer the reason as a text, which is empty on success; the engine puts archive and entry
// before it.
#pragma once

#include <zip.h>

#include <ctime>
#include <memory>
#include <string>

#include "platform/WindowsTypes.h"

namespace Quorvel::FileAccess {

struct ZipRelease {
  void operator()(zip_t* archive) const { zip_discard(archive); }
  void operator()(zip_source_t* source) const { zip_source_free(source); }
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using ZipHandle = std::unique_ptr<zip_t, ZipRelease>;
using ZipSourceHandle = std::unique_ptr<zip_source_t, ZipRelease>;
using ZipFileHandle = std::unique_ptr<zip_file_t, ZipRelease>;

/// A libzip error for the length of a scope.
struct ZipErrorScope {
  ZipErrorScope() { zip_error_init(&error); }
  ~ZipErrorScope() { zip_error_fini(&error); }
  ZipErrorScope(const ZipErrorScope&) = delete;
  ZipErrorScope& operator=(const ZipErrorScope&) = delete;
  zip_error_t error{};
};

std::wstring zipReason(zip_error_t* error);
/// Text of an error code of the system, without a line end.
std::wstring systemReason(DWORD error);
/// Seconds since 1970, within what an archive's local times can hold in every zone.
std::time_t archiveTime(const FILETIME& time);

}  // namespace Quorvel::FileAccess
