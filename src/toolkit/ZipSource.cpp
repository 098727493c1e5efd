#include "toolkit/ZipSource.h"

#include <exception>

namespace Quorvel::FileAccess {

ZipSourceHandle ZipSource::handOver(std::unique_ptr<ZipSource> source) {
  const ZipErrorScope scope;
  ZipSourceHandle handle(zip_source_function_create(&ZipSource::dispatch, source.get(), nullptr));
  if (handle) static_cast<void>(source.release());
  return handle;
}

zip_int64_t ZipSource::dispatch(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command) noexcept {
  auto* source = static_cast<ZipSource*>(state);
  if (command == ZIP_SOURCE_FREE) {
    delete source;
    return 0;
  }
  if (command == ZIP_SOURCE_ERROR) return zip_error_to_data(&source->error_, data, length);
  try {
    return source->handle(data, length, command);
  } catch (const std::exception&) {
    zip_error_set(&source->error_, ZIP_ER_MEMORY, 0);
    return -1;
  }
}

}  // namespace Quorvel::FileAccess
