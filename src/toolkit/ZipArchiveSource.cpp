#include <algorithm>

#include "toolkit/ZipSource.h"

namespace Quorvel::FileAccess {

namespace {

class ArchiveSource final : public ZipSource {
 public:
  ArchiveSource(IZipInput* input, IZipOutput* output, ZipRun& run) : ZipSource(run), input_(input), output_(output) {}

 private:
  zip_int64_t handle(void* data, zip_uint64_t length, zip_source_cmd_t command) override {
    switch (command) {
      case ZIP_SOURCE_OPEN:
        position_ = 0;
        return 0;
      case ZIP_SOURCE_READ:
        return read(data, length);
      case ZIP_SOURCE_CLOSE:
        return 0;
      case ZIP_SOURCE_STAT:
        return stat(static_cast<zip_stat_t*>(data));
      case ZIP_SOURCE_SEEK:
        return seek(data, length);
      case ZIP_SOURCE_TELL:
        return static_cast<zip_int64_t>(position_);
      case ZIP_SOURCE_SUPPORTS:
        return output_ == nullptr ? ZIP_SOURCE_SUPPORTS_SEEKABLE : ZIP_SOURCE_SUPPORTS_WRITABLE;
      default:
        return output_ == nullptr ? fail(ZIP_ER_OPNOTSUPP, L"the archive is only read")
                                  : handleWriting(data, length, command);
    }
  }

  zip_int64_t handleWriting(const void* data, zip_uint64_t length, zip_source_cmd_t command) {
    switch (command) {
      case ZIP_SOURCE_BEGIN_WRITE:
        return output_->begin() ? 0 : failWithLastError(ZIP_ER_TMPOPEN, L"can't be created");
      case ZIP_SOURCE_WRITE:
        if (!output_->write(data, length)) return failWithLastError(ZIP_ER_WRITE, L"can't be written");
        return static_cast<zip_int64_t>(length);
      case ZIP_SOURCE_SEEK_WRITE:
        return seekWriting(data, length);
      case ZIP_SOURCE_TELL_WRITE:
        return static_cast<zip_int64_t>(output_->position());
      case ZIP_SOURCE_COMMIT_WRITE:
        return commit();
      case ZIP_SOURCE_ROLLBACK_WRITE:
        output_->rollBack();
        return 0;
      default:
        return fail(ZIP_ER_OPNOTSUPP, L"an operation that archives do not have");
    }
  }

  zip_int64_t commit() {
    for (const WatchedFile& file : run().watched) {
      // A journal that came later is one of a change that the database may have had by half.
      const bool isHalf = file.isDatabase && stateOf(file.path + L"-journal").size > 0 && !isWatched(L"-journal", file);
      if (isHalf || stateOf(file.path) != file.state) {
        return fail(ZIP_ER_READ, L"file \"" + file.path + L"\" was written while its database was read");
      }
    }
    if (input_ != nullptr) input_->release();
    return output_->commit() ? 0 : failWithLastError(ZIP_ER_RENAME, L"can't take its place");
  }

  bool isWatched(const wchar_t* ending, const WatchedFile& database) {
    return std::any_of(run().watched.begin(), run().watched.end(),
                       [&](const WatchedFile& file) { return file.path == database.path + ending; });
  }

  zip_uint64_t size() const { return input_ == nullptr ? 0 : input_->size(); }

  zip_int64_t read(void* data, zip_uint64_t length) {
    std::size_t count = 0;
    if (input_ == nullptr) return 0;
    if (!input_->read(position_, data, length, count)) return failWithLastError(ZIP_ER_READ, L"can't be read");
    position_ += count;
    return tell(count) ? static_cast<zip_int64_t>(count) : -1;
  }

  zip_int64_t stat(zip_stat_t* stat) const {
    zip_stat_init(stat);
    stat->size = size();
    stat->valid |= ZIP_STAT_SIZE;
    return sizeof(*stat);
  }

  // zip_source_seek_compute_offset takes its argument block as not const and leaves it as it is.
  zip_int64_t seek(void* data, zip_uint64_t length) {
    const zip_int64_t position = zip_source_seek_compute_offset(position_, size(), data, length, error());
    if (position < 0) return -1;
    position_ = static_cast<zip_uint64_t>(position);
    return 0;
  }

  zip_int64_t seekWriting(const void* data, zip_uint64_t length) {
    const zip_int64_t position =
        zip_source_seek_compute_offset(output_->position(), output_->size(), const_cast<void*>(data), length, error());
    if (position < 0) return -1;
    const bool isThere = output_->seek(static_cast<std::uint64_t>(position));
    return isThere ? 0 : failWithLastError(ZIP_ER_SEEK, L"can't be written");
  }

  IZipInput* input_;
  IZipOutput* output_;
  zip_uint64_t position_ = 0;
};

}  // namespace

ZipSourceHandle makeArchiveSource(IZipInput* input, IZipOutput* output, ZipRun& run) {
  return ZipSource::handOver(std::make_unique<ArchiveSource>(input, output, run));
}

}  // namespace Quorvel::FileAccess
