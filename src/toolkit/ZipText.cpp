#include "toolkit/ZipText.h"

#include "platform/Text.h"

namespace Quorvel::FileAccess {

std::wstring decodeText(const CkByteData& bytes, const std::wstring& charset, std::wstring& out) {
  const std::uint8_t* data = bytes.getData();
  const std::size_t size = bytes.getSize();
  if (platform::equalsIgnoreCase(charset, L"utf-8")) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const bool isMarked = text.substr(0, 3) == "\xEF\xBB\xBF";
    out = platform::fromUtf8(text.substr(isMarked ? 3 : 0));
    return {};
  }
  if (!platform::equalsIgnoreCase(charset, L"utf-16"))
    return L"\"utf-16\" or \"utf-8\" expected, \"" + charset + L"\" asked";
  if (size % 2 != 0) return platform::formatWide(L"UTF-16 expected, found an odd number of bytes: %zu", size);
  const bool isBig = size >= 2 && data[0] == 0xFE && data[1] == 0xFF;
  const bool isMarked = isBig || (size >= 2 && data[0] == 0xFF && data[1] == 0xFE);
  std::u16string text;
  text.reserve(size / 2);
  for (std::size_t i = isMarked ? 2 : 0; i + 1 < size; i += 2) {
    const unsigned unit = isBig ? data[i] << 8U | data[i + 1] : data[i + 1] << 8U | data[i];
    text.push_back(static_cast<char16_t>(unit));
  }
  out = platform::fromUtf16(text);
  return {};
}

}  // namespace Quorvel::FileAccess
