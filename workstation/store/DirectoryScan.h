// What lies in a directory of this workstation, read as fast as the system can tell it: for a look at a whole project.
// Nothing is opened but directories, and no path is looked up.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "workstation/Export.h"

namespace workstation {

/// A file, or a link to one, which stands for its target.
struct ScannedFile {
  std::string name;  ///< relative, UTF-8, with backslashes
  std::string key;   ///< the same in lower case, as the store tells names apart
  std::int64_t size = 0;
  std::int64_t modified = 0;  ///< 100 ns since 1601, UTC
};

struct DirectoryScan {
  std::vector<ScannedFile> files;        ///< in no order
  std::vector<std::wstring> passedOver;  ///< names that no other workstation can hold, of files and of directories
  std::wstring failure;                  ///< why it is not whole; empty otherwise
};

/// Looks at everything below a path of the system (UTF-8), on several threads. Links to directories are not entered.
/// @param isLeftOut  asked with the key of each directory; any thread
WORKSTATION_API DirectoryScan scanDirectory(const std::string& path,
                                            const std::function<bool(std::string_view key)>& isLeftOut);

/// Lower case of a UTF-8 name, still UTF-8: the key under which the store keeps it.
WORKSTATION_API std::string keyOfName(std::string_view name);

}  // namespace workstation
