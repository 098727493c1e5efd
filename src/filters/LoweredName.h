// A name in the lower case in which rules are kept.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Text.h"

namespace Quorvel::FileAccess {

/// Holds names of usual length in itself, as queries run by the million.
class LoweredName {
 public:
  explicit LoweredName(std::wstring_view name) : size_(name.size()) {
    if (size_ > short_.size()) long_.resize(size_);
    platform::lowerInto(name, size_ > short_.size() ? long_.data() : short_.data());
  }
  LoweredName(const LoweredName&) = delete;
  LoweredName& operator=(const LoweredName&) = delete;

  std::wstring_view text() const { return {size_ > short_.size() ? long_.data() : short_.data(), size_}; }

 private:
  static constexpr std::size_t kUsualLength = 128;

  std::size_t size_;
  std::array<wchar_t, kUsualLength> short_;  // Not cleared: only what was written is read.
  std::wstring long_;
};

}  // namespace Quorvel::FileAccess
