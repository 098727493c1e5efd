// `zephor pack`, `zephor unpack`, `zephor inspect`: projects and folders in archives.
#include "workstation/program/Commands.h"

namespace workstation::program {

void addArchiveCommands(CLI::App& /*app*/, Action& /*selected*/) {}

}  // namespace workstation::program
