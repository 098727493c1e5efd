#include "workstation/program/ArchiveView.h"

#include <zip.h>

#include <algorithm>
#include <array>
#include <map>

#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

constexpr const wchar_t* kInformation = L"Project1.Dat.xml";
constexpr const wchar_t* kSharedInformation = L"Link4/Resource/Project1.Dat.xml";
/// Bytes that one byte of a deflate stream can stand for at most.
constexpr std::uint64_t kMostPerByte = 1032;

std::wstring nameProblem(const ArchiveEntry& entry) {
  std::wstring name = entry.name;
  std::replace(name.begin(), name.end(), L'/', L'\\');
  if (entry.isDirectory && !name.empty()) name.pop_back();
  return platform::isSafeRelativeName(name) ? L"" : L"its name would leave the directory, or is none for a file";
}

std::wstring kindProblem(zip_t* archive, zip_uint64_t index, const ArchiveEntry& entry, const zip_stat_t& stat) {
  constexpr zip_uint32_t kTypeMask = 0170000;
  constexpr zip_uint32_t kFile = 0100000;
  constexpr zip_uint32_t kDirectory = 0040000;
  constexpr zip_uint32_t kModeShift = 16;
  zip_uint8_t system = 0;
  zip_uint32_t attributes = 0;
  zip_file_get_external_attributes(archive, index, 0, &system, &attributes);
  const zip_uint32_t type = system == ZIP_OPSYS_UNIX ? (attributes >> kModeShift) & kTypeMask : 0;
  if (type != 0 && type != kFile && type != kDirectory) return L"is a link or a device";
  if (stat.encryption_method != ZIP_EM_NONE) return L"is encrypted";
  if (stat.comp_method != ZIP_CM_STORE && stat.comp_method != ZIP_CM_DEFLATE) return L"is packed in a foreign way";
  if (entry.isDirectory && entry.size > 0) return L"is a directory with content";
  if (entry.size / kMostPerByte > entry.packed) return L"claims more than its bytes can hold";
  return {};
}

ArchiveEntry readEntry(zip_t* archive, zip_uint64_t index) {
  constexpr zip_uint64_t kWanted =
      ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
  ArchiveEntry entry;
  const char* const name = zip_get_name(archive, index, ZIP_FL_ENC_GUESS);
  entry.name = platform::fromUtf8(name != nullptr ? name : "");
  entry.isDirectory = entry.name.ends_with(L'/');
  zip_stat_t stat{};
  if (zip_stat_index(archive, index, 0, &stat) != 0 || (stat.valid & kWanted) != kWanted) {
    entry.problem = L"does not tell its size";
    return entry;
  }
  entry.size = stat.size;
  entry.packed = stat.comp_size;
  entry.problem = nameProblem(entry);
  if (entry.problem.empty()) entry.problem = kindProblem(archive, index, entry, stat);
  return entry;
}

}  // namespace

void ArchiveView::Closer::operator()(zip* archive) const {
  zip_discard(archive);
}

ArchiveView::ArchiveView(const std::string& path) {
  int code = 0;
  archive_.reset(zip_open(path.c_str(), ZIP_RDONLY, &code));
  if (!archive_) {
    zip_error_t error{};
    zip_error_init_with_code(&error, code);
    const std::wstring reason = platform::fromUtf8(zip_error_strerror(&error));
    zip_error_fini(&error);
    throw CommandFailure{ExitCode::Failure, platform::fromUtf8(path) + L" can't be read as an archive: " + reason};
  }
  const auto count = static_cast<zip_uint64_t>(std::max<zip_int64_t>(0, zip_get_num_entries(archive_.get(), 0)));
  for (zip_uint64_t i = 0; i < count; ++i) {
    entries_.push_back(readEntry(archive_.get(), i));
    const std::wstring& name = entries_.back().name;
    if (name == kSharedInformation) kind_ = ArchiveKind::SharedProject;
    if (name == kInformation && kind_ == ArchiveKind::Plain) kind_ = ArchiveKind::PackedProject;
  }
  judgeTogether(platform::fileStatus(platform::libraryPath(path)).size);
}

/// Names that one directory can't hold together, and bytes that several entries share.
void ArchiveView::judgeTogether(std::uint64_t fileSize) {
  std::map<std::wstring, bool> isDirectory;  // by the name in lower case
  std::uint64_t left = fileSize;
  for (ArchiveEntry& entry : entries_) {
    std::wstring name = platform::toLower(entry.name);
    if (entry.isDirectory) name.pop_back();
    const auto [known, isNew] = isDirectory.emplace(name, entry.isDirectory);
    bool isTaken = !isNew && !(known->second && entry.isDirectory);
    for (std::size_t slash = name.find(L'/'); slash != std::wstring::npos; slash = name.find(L'/', slash + 1))
      isTaken |= !isDirectory.emplace(name.substr(0, slash), true).first->second;
    if (isTaken && entry.problem.empty()) entry.problem = L"another entry has its name, but for letter case";
    if (entry.packed > left && entry.problem.empty()) entry.problem = L"its bytes are not all in the archive";
    left -= std::min(left, entry.packed);
  }
}

std::uint64_t ArchiveView::files() const {
  return static_cast<std::uint64_t>(
      std::count_if(entries_.begin(), entries_.end(), [](const ArchiveEntry& entry) { return !entry.isDirectory; }));
}

std::uint64_t ArchiveView::size() const {
  std::uint64_t sum = 0;
  for (const ArchiveEntry& entry : entries_) sum += entry.size;
  return sum;
}

std::uint64_t ArchiveView::packed() const {
  std::uint64_t sum = 0;
  for (const ArchiveEntry& entry : entries_) sum += entry.packed;
  return sum;
}

std::wstring ArchiveView::check(std::size_t index) const {
  const ArchiveEntry& entry = entries_[index];
  if (!entry.problem.empty() || entry.isDirectory) return entry.problem;
  const auto failed = [](zip_error_t* error) {
    return L"is damaged: " + platform::fromUtf8(zip_error_strerror(error));
  };
  zip_file_t* const file = zip_fopen_index(archive_.get(), index, 0);
  if (file == nullptr) return failed(zip_get_error(archive_.get()));
  std::array<char, 65536> buffer{};
  std::uint64_t read = 0;
  zip_int64_t count = 1;
  while (count > 0 && read <= entry.size) {
    count = zip_fread(file, buffer.data(), buffer.size());
    if (count > 0) read += static_cast<std::uint64_t>(count);
  }
  std::wstring problem;
  if (count < 0) {
    problem = failed(zip_file_get_error(file));
  } else if (read != entry.size) {
    problem = L"is damaged: its size is not what it claims";
  }
  zip_fclose(file);
  return problem;
}

std::wstring kindText(ArchiveKind kind) {
  switch (kind) {
    case ArchiveKind::PackedProject:
      return L"packed project";
    case ArchiveKind::SharedProject:
      return L"archive of a shared project";
    case ArchiveKind::Plain:
      break;
  }
  return L"plain archive";
}

std::wstring sizeText(std::uint64_t bytes) {
  constexpr double kKilo = 1e3;
  constexpr double kMega = 1e6;
  const auto size = static_cast<double>(bytes);
  return size < kMega ? platform::formatWide(L"%.1f kB", size / kKilo) : platform::formatWide(L"%.1f MB", size / kMega);
}

std::wstring amountText(std::uint64_t files, std::uint64_t bytes, std::optional<std::uint64_t> packed) {
  const std::wstring text = counted(files, L"file", L"files") + L", " + sizeText(bytes);
  return packed ? text + L" (" + sizeText(*packed) + L" packed)" : text;
}

}  // namespace workstation::program
