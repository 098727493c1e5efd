// What a zip archive holds, and what of it no workstation unpacks. Reads alone; believes nothing that the archive says.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct zip;

namespace workstation::program {

enum class ArchiveKind : std::uint8_t { Plain, PackedProject, SharedProject };

struct ArchiveEntry {
  std::wstring name;
  std::uint64_t size = 0;    ///< bytes that it claims to have unpacked
  std::uint64_t packed = 0;  ///< bytes in the archive
  bool isDirectory = false;
  std::wstring problem;  ///< why it is not unpacked; empty when it would be
};

class ArchiveView {
 public:
  /// Throws CommandFailure for a file that is no archive.
  /// @param path  of the system
  explicit ArchiveView(const std::string& path);

  ArchiveKind kind() const { return kind_; }
  const std::vector<ArchiveEntry>& entries() const { return entries_; }
  std::uint64_t files() const;
  std::uint64_t size() const;
  std::uint64_t packed() const;
  /// Reads an entry and compares it with its size and check sum. @return what is wrong; empty when nothing is
  std::wstring check(std::size_t index) const;

 private:
  struct Closer {
    void operator()(zip* archive) const;
  };
  void judgeTogether(std::uint64_t fileSize);

  std::unique_ptr<zip, Closer> archive_;
  std::vector<ArchiveEntry> entries_;
  ArchiveKind kind_ = ArchiveKind::Plain;
};

/// "packed project", "archive of a shared project" or "plain archive".
std::wstring kindText(ArchiveKind kind);
/// "12 files, 3.4 MB (1.2 MB packed)".
std::wstring amountText(std::uint64_t files, std::uint64_t bytes, std::optional<std::uint64_t> packed = {});

}  // namespace workstation::program
