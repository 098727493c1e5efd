#include "toolkit/Deflate.h"

#include <libdeflate.h>

#include <array>
#include <new>

namespace Quorvel::FileAccess {

namespace {

struct Free {
  void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
  void operator()(libdeflate_decompressor* decompressor) const { libdeflate_free_decompressor(decompressor); }
};
using Compressor = std::unique_ptr<libdeflate_compressor, Free>;
using Decompressor = std::unique_ptr<libdeflate_decompressor, Free>;

constexpr std::size_t kLevels = 10;

libdeflate_compressor& compressorOf(int level) {
  thread_local std::array<Compressor, kLevels> compressors;
  Compressor& compressor = compressors.at(static_cast<std::size_t>(level));
  if (!compressor) compressor.reset(libdeflate_alloc_compressor(level));
  if (!compressor) throw std::bad_alloc();
  return *compressor;
}

libdeflate_decompressor& decompressor() {
  thread_local Decompressor decompressor(libdeflate_alloc_decompressor());
  if (!decompressor) decompressor.reset(libdeflate_alloc_decompressor());
  if (!decompressor) throw std::bad_alloc();
  return *decompressor;
}

}  // namespace

DeflatedBlock deflateBlock(const void* data, std::size_t size, int level) {
  if (size < 2) return {};
  // Room for less than the content has: what does not fit does not shrink.
  const std::size_t room = size - 1;
  DeflatedBlock block{std::unique_ptr<std::uint8_t[]>(new std::uint8_t[room]), 0};
  block.size = libdeflate_deflate_compress(&compressorOf(level), data, size, block.bytes.get(), room);
  if (block.size == 0) block.bytes.reset();
  return block;
}

bool inflateBlock(const void* data, std::size_t size, void* out, std::size_t outSize) {
  std::uint8_t nothing = 0;
  void* target = outSize == 0 ? &nothing : out;
  // Without a place for the actual size libdeflate fails when it is less than `outSize`.
  return libdeflate_deflate_decompress(&decompressor(), data, size, target, outSize, nullptr) == LIBDEFLATE_SUCCESS;
}

}  // namespace Quorvel::FileAccess
