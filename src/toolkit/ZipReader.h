// An archive that is there: what it holds, and the content of its entries, checked. Internal to the toolkit.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "toolkit/ZipSources.h"

namespace Quorvel::FileAccess {

/// What an archive claims of an entry.
struct ZipClaim {
  std::uint64_t size = 0;
  std::uint64_t storedSize = 0;
  std::uint32_t crc = 0;
  int method = 0;
  bool isEncrypted = false;
  unsigned unixMode = 0;   ///< 0 where the archive's maker has none
  std::int64_t time = -1;  ///< seconds since 1970; -1 when there is none
};

/// Takes a piece; false ends the reading.
using ZipSink = std::function<bool(const void* data, std::size_t size)>;

/// Belongs to one thread but for claim(), read() and readPieces(), which several may call at a time.
class ZipReader {
 public:
  /// @param reason  why it is no archive, on null
  static std::unique_ptr<ZipReader> open(std::unique_ptr<IZipInput> input, std::wstring& reason);

  IZipInput& input() { return *input_; }
  std::uint64_t count() const;
  /// With forward slashes. Names that are not marked as UTF-8 and can't be taken for it are read as code page 437.
  std::wstring name(std::uint64_t index) const;
  ZipClaim claim(std::uint64_t index) const;
  /// Why the entry can't be read, as far as its claims tell: nothing is allocated for a size that can't be true.
  std::wstring refusal(const ZipClaim& claim) const;
  /// The whole content, of the claimed size and check sum. @return the reason on a failure
  std::wstring read(std::uint64_t index, std::vector<std::uint8_t>& out);
  /// The same in pieces; what the sink took before a failure is worth nothing.
  std::wstring readPieces(std::uint64_t index, const ZipSink& sink);

 private:
  explicit ZipReader(std::unique_ptr<IZipInput> input) : input_(std::move(input)) {}
  ZipClaim claimOf(std::uint64_t index) const;
  std::wstring readStored(std::uint64_t index, void* out, std::size_t size);
  std::wstring failed(zip_error_t* error);

  std::unique_ptr<IZipInput> input_;
  mutable std::mutex mutex_;  // for the archive while contents are read
  ZipRun run_;
  ZipHandle archive_;  // reads through both
};

}  // namespace Quorvel::FileAccess
