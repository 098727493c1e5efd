// What `doctor` looks at. Each check adds its findings, each with what to do about it, and leaves everything as it was.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace workstation::program {

class Context;

enum class Health : std::uint8_t { Ok, Warning, Problem };

struct Finding {
  std::wstring check;
  Health health = Health::Ok;
  std::wstring detail;
  std::wstring remedy{};  ///< empty for what is well
};
using Findings = std::vector<Finding>;

/// Directories, space, trash, opener, settings and records. After Context::startWorkstation().
/// @param mayProbe  a small file may be made and removed again
void checkWorkstation(Findings& findings, bool mayProbe);
/// The records of this workstation's projects.
void checkRecords(Findings& findings);
/// A database file (a path of the system), if it is there: looked at for some seconds at most, and never written.
/// @param remedy  for a damaged one; others are never told to take it away
void checkDatabase(Findings& findings, const std::wstring& check, const std::string& path, const std::wstring& remedy);
/// The records of the store in `directory` (a path of the system), whether it can be used or not.
void checkStoreDatabase(Findings& findings, const std::string& directory);
/// The project that is open in this process.
void checkProject(Findings& findings);
/// After Context::startOnline().
void checkStore(Context& context, Findings& findings, bool mayProbe);
/// The servers of the older store; nobody is asked for a password.
void checkServers(Findings& findings);

/// A small file that was made in a directory (a path of the system) and is gone again.
struct Probe {
  std::string failure;     ///< why there was none; empty otherwise
  std::int64_t ahead = 0;  ///< nanoseconds by which the directory's clock is ahead of this machine's
};
Probe probeDirectory(const std::string& directory);
/// Free space of a directory (a path of the system).
void checkSpace(Findings& findings, const std::wstring& check, const std::string& directory);

}  // namespace workstation::program
