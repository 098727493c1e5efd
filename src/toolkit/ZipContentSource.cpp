#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/Time.h"
#include "toolkit/OpenFile.h"
#include "toolkit/ZipAhead.h"
#include "toolkit/ZipSource.h"

namespace Quorvel::FileAccess {

namespace {

/// libzip asks STAT first, which prepares the content; then come OPEN, READ to the end, CLOSE and STAT again.
class ContentSource final : public ZipSource {
 public:
  ContentSource(zip_t* archive, const ZipEntry& entry, ZipRun& run)
      : ZipSource(run), archive_(archive), entry_(entry), level_(run.level), number_(run.ahead->add(entry)) {}

  void setIndex(zip_uint64_t index) { index_ = index; }

 private:
  zip_int64_t handle(void* data, zip_uint64_t length, zip_source_cmd_t command) override {
    switch (command) {
      case ZIP_SOURCE_STAT:
        if (!isPrepared_ && !prepare()) return -1;
        *static_cast<zip_stat_t*>(data) = stat_;
        return sizeof(stat_);
      case ZIP_SOURCE_OPEN:
        position_ = 0;
        return 0;
      case ZIP_SOURCE_READ:
        return file_ ? readFile(data, length) : readBlock(data, length);
      case ZIP_SOURCE_CLOSE:
        dropContent();
        return 0;
      case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_READABLE;
      default:
        return fail(ZIP_ER_OPNOTSUPP, about(L"an operation that entries do not have"));
    }
  }

  std::wstring about(const std::wstring& reason) const { return L"entry \"" + entry_.name + L"\": " + reason; }
  std::wstring aboutFile(const std::wstring& reason) const { return about(L"file \"" + entry_.path + L"\" " + reason); }

  bool prepare() {
    zip_stat_init(&stat_);
    stat_.encryption_method = ZIP_EM_NONE;
    stat_.valid = ZIP_STAT_MTIME | ZIP_STAT_ENCRYPTION_METHOD | ZIP_STAT_COMP_METHOD | ZIP_STAT_SIZE;
    stat_.mtime = archiveTime(entry_.time);
    ready_ = run().ahead->take(number_);
    if (!ready_.failure.empty()) {
      fail(ZIP_ER_READ, about(ready_.failure));
      return false;
    }
    if (ready_.isLarge ? !prepareStream() : !prepareBlock()) return false;
    isPrepared_ = true;
    return true;
  }

  bool prepareStream() {
    const std::optional<FileState> state = settledStateOf(entry_.path);
    file_.emplace(entry_.path, GENERIC_READ, kShareAll, OPEN_EXISTING);
    if (!file_->isOpen()) {
      failWithLastError(ZIP_ER_READ, aboutFile(L"can't be read"));
      return false;
    }
    if (!state || file_->size() != state->size) {
      fail(ZIP_ER_READ, aboutFile(L"is being written"));
      return false;
    }
    ready_.state = *state;
    stat_.size = state->size;
    stat_.mtime = archiveTime(platform::fromTicks(state->ticks));
    stat_.comp_method = ZIP_CM_STORE;
    choose(level_ == 0 ? ZIP_CM_STORE : ZIP_CM_DEFLATE);
    return true;
  }

  bool prepareBlock() {
    stat_.size = ready_.size;
    if (ready_.state.exists) stat_.mtime = archiveTime(platform::fromTicks(ready_.state.ticks));
    watch();
    if (ready_.stored) {
      stat_.comp_method = ZIP_CM_STORE;
      choose(ZIP_CM_STORE);
    } else {
      stat_.comp_method = ZIP_CM_DEFLATE;
      stat_.comp_size = ready_.block.size;
      stat_.crc = ready_.crc;
      stat_.valid |= ZIP_STAT_COMP_SIZE | ZIP_STAT_CRC;
    }
    return tell(stat_.size);
  }

  /// A database and its log belong together: none may be written before the last of them was read.
  void watch() {
    if (entry_.kind != ZipEntry::Kind::File || (!entry_.isOfDatabase && !ready_.isDatabase)) return;
    run().watched.push_back({entry_.path, ready_.state, ready_.isDatabase});
  }

  // libzip looks at the entry's method behind STAT. Should it ever look before, it would deflate the content itself and
  // the archive would be as right.
  void choose(zip_int32_t method) {
    const auto level = static_cast<zip_uint32_t>(method == ZIP_CM_STORE ? 0 : level_);
    zip_set_file_compression(archive_, index_, method, level);
  }

  zip_int64_t readBlock(void* data, zip_uint64_t length) {
    const std::size_t count = std::min<std::size_t>(length, ready_.storedSize() - position_);
    if (count > 0) std::memcpy(data, ready_.bytes() + position_, count);
    position_ += count;
    return static_cast<zip_int64_t>(count);
  }

  zip_int64_t readFile(void* data, zip_uint64_t length) {
    const auto wanted = static_cast<DWORD>(std::min({length, stat_.size - position_, zip_uint64_t{1} << 30U}));
    DWORD count = 0;
    if (wanted > 0 && !file_->read(data, wanted, count)) {
      return failWithLastError(ZIP_ER_READ, aboutFile(L"can't be read"));
    }
    if (count == 0 && wanted > 0) return fail(ZIP_ER_READ, aboutFile(L"became shorter while it was read"));
    if (position_ == 0) {
      ready_.isDatabase = isDatabase({static_cast<const char*>(data), count});
      watch();
    }
    position_ += count;
    const bool isEnd = position_ == stat_.size;
    if (isEnd && stateOf(entry_.path) != ready_.state) {
      return fail(ZIP_ER_READ, aboutFile(L"was written while it was read"));
    }
    return tell(count) ? zip_int64_t{count} : -1;
  }

  void dropContent() {
    ready_.block = {};
    ready_.stored.reset();
    file_.reset();
  }

  zip_t* archive_;
  const ZipEntry& entry_;
  int level_;
  std::size_t number_;  // ahead
  zip_uint64_t index_ = 0;
  bool isPrepared_ = false;
  zip_stat_t stat_{};
  ReadyContent ready_;
  std::optional<OpenFile> file_;
  std::size_t position_ = 0;
};

}  // namespace

std::wstring addContent(zip_t* archive, const ZipEntry& entry, const char* name, ZipRun& run) {
  auto owned = std::make_unique<ContentSource>(archive, entry, run);
  ContentSource* content = owned.get();
  ZipSourceHandle source = ZipSource::handOver(std::move(owned));
  if (!source) return L"out of memory";
  const zip_int64_t index = zip_file_add(archive, name, source.get(), ZIP_FL_ENC_UTF_8);
  if (index < 0) return zipReason(zip_get_error(archive));
  static_cast<void>(source.release());  // the archive's by now
  content->setIndex(static_cast<zip_uint64_t>(index));
  return {};
}

}  // namespace Quorvel::FileAccess
