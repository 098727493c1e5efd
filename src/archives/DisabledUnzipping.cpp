#include "archives/DisabledUnzipping.h"

#include <atomic>

#include "zephor/Archives.h"

namespace Quorvel::FileAccess {
namespace {

constexpr std::uint64_t kTypePart = 0xFFFFFFFF00000000U;

constexpr std::uint64_t pairOf(int type, unsigned int number) {
  return (std::uint64_t{static_cast<std::uint32_t>(type)} << 32U) | number;
}

/// Type and number in one word, so that no thread sees the type of one guard with the number of another.
std::atomic<std::uint64_t>& disabledPair() {
  static std::atomic<std::uint64_t> pair{pairOf(eFileType_Teilbild, 0)};
  return pair;
}

}  // namespace

bool isUnzippingDisabled(int fileType, int number) {
  return disabledPair().load() == pairOf(fileType, static_cast<unsigned int>(number));
}

ScopedDisableUnzipping::ScopedDisableUnzipping(QuorvelFileType type, unsigned int number)
    : type_(type), number_(number) {
  disabledPair() = pairOf(type_, number_);
}

// The type stays; with the number 0 it names no object.
ScopedDisableUnzipping::~ScopedDisableUnzipping() {
  disabledPair() &= kTypePart;
}

}  // namespace Quorvel::FileAccess
