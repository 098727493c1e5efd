#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include "platform/Errors.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "platform/TextCodec.h"

namespace platform {
namespace {

constexpr std::size_t kBlockSize = std::size_t{64} * 1024;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";

enum class Access : std::uint8_t { Read, Write, Append };

/// A mode text taken apart.
struct OpenMode {
  Access access = Access::Read;
  TextEncoding encoding = TextEncoding::Plain;
  bool binary = false;
};

std::wstring_view skipBlanks(std::wstring_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(L' '), text.size()));
  return text;
}

std::optional<TextEncoding> parseEncoding(std::wstring_view text) {
  text = skipBlanks(text);
  if (!text.starts_with(L"ccs")) return std::nullopt;
  text = skipBlanks(text.substr(3));
  if (!text.starts_with(L"=")) return std::nullopt;
  text = skipBlanks(text.substr(1));
  if (equalsIgnoreCase(text, L"UTF-8")) return TextEncoding::Utf8;
  if (equalsIgnoreCase(text, L"UTF-16LE")) return TextEncoding::Utf16LE;
  return std::nullopt;
}

std::optional<OpenMode> parseMode(const wchar_t* mode) {
  if (mode == nullptr) return std::nullopt;
  std::wstring_view text = skipBlanks(mode);
  OpenMode parsed;
  if (text.starts_with(L"w")) {
    parsed.access = Access::Write;
  } else if (text.starts_with(L"a")) {
    parsed.access = Access::Append;
  } else if (!text.starts_with(L"r")) {
    return std::nullopt;
  }
  text.remove_prefix(1);
  for (; !text.empty() && text.front() != L','; text.remove_prefix(1)) {
    parsed.binary = parsed.binary || text.front() == L'b';
    if (text.front() != L'b' && text.front() != L't' && text.front() != L' ') return std::nullopt;
  }
  if (text.empty()) return parsed;
  const std::optional<TextEncoding> encoding = parseEncoding(text.substr(1));
  if (!encoding) return std::nullopt;
  parsed.encoding = *encoding;
  return parsed;
}

bool writeWhole(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

int openDescriptor(const std::string& path, Access access) {
  constexpr mode_t kPermissions = 0666;
  if (access == Access::Read) return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (access == Access::Write) return ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, kPermissions);
  constexpr int kFlags = O_APPEND | O_CREAT | O_CLOEXEC;
  const int descriptor = ::open(path.c_str(), O_RDWR | kFlags, kPermissions);
  if (descriptor >= 0 || errno != EACCES) return descriptor;
  return ::open(path.c_str(), O_WRONLY | kFlags, kPermissions);
}

/// Refuses what the open call lets pass: directories, and read-only files for a privileged user.
bool isAllowed(const struct stat& status, Access access) {
  if (S_ISDIR(status.st_mode)) return false;
  return access == Access::Read || !S_ISREG(status.st_mode) || (status.st_mode & S_IWUSR) != 0;
}

}  // namespace

class TextFile::State {
 public:
  /// @return null with errno set when the file does not open
  static std::unique_ptr<State> open(const std::string& path, const OpenMode& mode) {
    const int descriptor = openDescriptor(path, mode.access);
    if (descriptor < 0) return nullptr;
    auto state = std::make_unique<State>(descriptor, mode);
    if (!state->begin()) {
      const int error = errno;
      state.reset();
      errno = error;
    }
    return state;
  }

  State(int descriptor, const OpenMode& mode)
      : descriptor_(descriptor), mode_(mode), codePage_(activeCodePage()), encoding_(mode.encoding) {}
  ~State() { close(); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  bool write(std::wstring_view text) {
    if (mode_.access == Access::Read || failed_) return false;
    for (const wchar_t c : text) encode(c);
    if (output_.size() >= kBlockSize) flush();
    return !failed_;
  }

  bool readLine(std::wstring& line, std::size_t bufferSize) {
    line.clear();
    if (mode_.access != Access::Read || bufferSize == 0) return false;
    const std::size_t limit = bufferSize - 1;
    while (ensureDecoded()) {
      const std::size_t lineEnd = decoded_.find(L'\n', decodedAt_);
      const std::size_t available = (lineEnd != std::wstring::npos ? lineEnd + 1 : decoded_.size()) - decodedAt_;
      const std::size_t taken = std::min(available, limit - line.size());
      line.append(decoded_, decodedAt_, taken);
      decodedAt_ += taken;
      if (line.size() == limit || line.back() == L'\n') return true;
    }
    return !line.empty();
  }

  bool close() {
    if (descriptor_ < 0) return !failed_;
    flush();
    if (::close(descriptor_) != 0) failed_ = true;
    descriptor_ = -1;
    return !failed_;
  }

 private:
  bool begin() {
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0) return false;
    if (!isAllowed(status, mode_.access)) {
      errno = EACCES;
      return false;
    }
    const bool regular = S_ISREG(status.st_mode);
    if (mode_.access == Access::Write) {
      if (regular && ::ftruncate(descriptor_, 0) != 0) return false;
      appendMark();
    } else if (mode_.access == Access::Append) {
      if (status.st_size == 0) {
        appendMark();
      } else {
        readMark();
      }
    }
    return true;
  }

  void appendMark() {
    if (encoding_ == TextEncoding::Utf8) output_ = kUtf8Mark;
    if (encoding_ == TextEncoding::Utf16LE) output_ = kUtf16Mark;
  }

  /// So that what is appended is of one encoding with what stands.
  void readMark() {
    if (mode_.encoding == TextEncoding::Plain) return;
    std::array<char, 3> start{};
    const ssize_t got = ::pread(descriptor_, start.data(), start.size(), 0);
    if (got > 0) takeMark(std::string_view(start.data(), static_cast<std::size_t>(got)));
  }

  /// @return the length of the mark
  std::size_t takeMark(std::string_view start) {
    if (start.starts_with(kUtf8Mark)) {
      encoding_ = TextEncoding::Utf8;
      return kUtf8Mark.size();
    }
    if (start.starts_with(kUtf16Mark)) {
      encoding_ = TextEncoding::Utf16LE;
      return kUtf16Mark.size();
    }
    return 0;
  }

  void encode(wchar_t c) {
    if (encoding_ == TextEncoding::Utf16LE) {
      unit_.clear();
      appendUtf16(unit_, c);
      for (const char16_t unit : unit_) {
        output_ += static_cast<char>(unit & 0xFFU);
        output_ += static_cast<char>(unit >> 8U);
      }
    } else if (readsAsUtf8()) {
      appendUtf8(output_, c);
    } else {
      const int byte = encodeSingleByte(codePage_, c);
      output_ += byte < 0 ? '?' : static_cast<char>(byte);
    }
  }

  bool readsAsUtf8() const {
    return encoding_ == TextEncoding::Utf8 || (encoding_ == TextEncoding::Plain && codePage_ == CP_UTF8);
  }

  void flush() {
    if (!failed_ && !writeWhole(descriptor_, output_)) {
      failed_ = true;
      failWithErrno();
    }
    output_.clear();
  }

  /// @return false at the end of the file
  bool ensureDecoded() {
    while (decodedAt_ == decoded_.size()) {
      if (ended_) return false;
      decoded_.clear();
      decodedAt_ = 0;
      if (carriageReturn_) decoded_ += L'\r';
      carriageReturn_ = false;
      readBlock();
      std::string_view bytes = raw_;
      if (atStart_ && mode_.encoding != TextEncoding::Plain) {
        // A mark may arrive in pieces from a pipe; wait for three bytes.
        if (bytes.size() < kUtf8Mark.size() && !ended_) continue;
        bytes.remove_prefix(takeMark(bytes));
      }
      atStart_ = false;
      decode(bytes);
      raw_.erase(0, raw_.size() - bytes.size());
    }
    return true;
  }

  /// Appends to the bytes that wait for the rest of their character.
  void readBlock() {
    const std::size_t before = raw_.size();
    raw_.resize(before + kBlockSize);
    ssize_t got = 0;
    do {
      got = ::read(descriptor_, raw_.data() + before, kBlockSize);
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
      failed_ = true;
      failWithErrno();
    }
    if (got <= 0) ended_ = true;
    raw_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  }

  /// Decodes whole characters and takes them from `bytes`; at the end of the file everything.
  void decode(std::string_view& bytes) {
    while (!bytes.empty()) {
      const DecodedCharacter next = decodeNext(bytes);
      if (next.length == 0 && !ended_) break;
      bytes.remove_prefix(next.length != 0 ? next.length : bytes.size());
      put(next.character);
    }
    // Its line feed may stand in the next block.
    if (!ended_ && !mode_.binary && !decoded_.empty() && decoded_.back() == L'\r') {
      decoded_.pop_back();
      carriageReturn_ = true;
    }
  }

  /// Lengths are in bytes.
  DecodedCharacter decodeNext(std::string_view bytes) const {
    if (readsAsUtf8()) return decodeUtf8(bytes);
    if (encoding_ == TextEncoding::Plain) {
      return {decodeSingleByte(codePage_, static_cast<unsigned char>(bytes.front())), 1, true};
    }
    std::array<char16_t, 2> units{};
    const std::size_t count = std::min(bytes.size() / 2, units.size());
    if (count == 0) return {kReplacementCharacter, 0, false};
    for (std::size_t i = 0; i < count; ++i) {
      const auto low = static_cast<unsigned char>(bytes[2 * i]);
      const auto high = static_cast<unsigned char>(bytes[2 * i + 1]);
      units[i] = static_cast<char16_t>(low | (high << 8U));
    }
    DecodedCharacter next = decodeUtf16(std::u16string_view(units.data(), count));
    next.length *= 2;
    return next;
  }

  void put(wchar_t c) {
    if (c == L'\n' && !mode_.binary && !decoded_.empty() && decoded_.back() == L'\r') decoded_.pop_back();
    decoded_ += c;
  }

  int descriptor_;
  OpenMode mode_;
  UINT codePage_;
  TextEncoding encoding_;
  bool failed_ = false;

  std::string output_;
  std::u16string unit_;

  std::string raw_;
  std::wstring decoded_;
  std::size_t decodedAt_ = 0;
  bool atStart_ = true;
  bool ended_ = false;
  bool carriageReturn_ = false;  ///< taken from the end of a block, not yet decided
};

TextFile::TextFile(const std::wstring& path, const wchar_t* mode) {
  const std::optional<OpenMode> parsed = parseMode(mode);
  const std::string file = parsed ? systemPath(path) : std::string();
  if (parsed && !file.empty()) {
    state_ = State::open(file, *parsed);
  } else {
    errno = parsed ? ENOENT : EINVAL;
  }
  if (!state_) failWithErrno();
}

TextFile::~TextFile() = default;
TextFile::TextFile(TextFile&&) noexcept = default;

bool TextFile::isOpen() const {
  return state_ != nullptr;
}

bool TextFile::write(std::wstring_view text) {
  return state_ && state_->write(text);
}

bool TextFile::readLine(std::wstring& line, std::size_t bufferSize) {
  line.clear();
  return state_ && state_->readLine(line, bufferSize);
}

bool TextFile::close() {
  if (!state_) return false;
  const bool whole = state_->close();
  state_.reset();
  return whole;
}

}  // namespace platform
