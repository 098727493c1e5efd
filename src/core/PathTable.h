// The table behind the path numbers: what each number holds, what a root derives, how numbers map to the server's side.
#pragma once

#include <array>
#include <bitset>
#include <string>

namespace Quorvel::FileAccess {

/// What a path that does not exist reads as.
constexpr const wchar_t* kNoPathText = L"(null)";

class PathTable {
 public:
  static constexpr int kLast = 16;

  /// What a root derives its further entries from.
  struct Roots {
    std::wstring userId;             ///< text of the user's number, the last component of the user's directories
    bool serverIsDirectory = false;  ///< false: the server is online and has no directories beside its projects
  };

  /// Stores a path, and for the two roots all that follows from it.
  /// @return the value before; kNoPathText when there was none, or when the number can't be set, which stores nothing
  std::wstring set(int number, const std::wstring& path, const Roots& roots);

  /// The stored path; empty for a number that is not set, or is none.
  const std::wstring& entry(int number) const;

  /// True for a number that a caller may set: all but 0, 4, 7, 12 and 15.
  static bool isSettable(int number);

  /// Name of a number in traces; the number itself for one that can't be set.
  static std::wstring label(int number);

  /// The number of the same directory on the server; 0 for one that has none there.
  static int serverNumberOf(int number);

 private:
  void put(int number, std::wstring path);
  void setLocalRoot(const std::wstring& root, const Roots& roots);
  void setServerRoot(const std::wstring& root, const Roots& roots);

  std::array<std::wstring, kLast + 1> entries_;
  std::bitset<kLast + 1> isSet_;
};

/// Cuts the run of backslashes at the end.
std::wstring withoutTrailingBackslashes(std::wstring path);

}  // namespace Quorvel::FileAccess
