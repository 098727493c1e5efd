// What the commands on archives share.
#pragma once

#include <string>
#include <vector>

#include "workstation/program/ExitCode.h"

namespace workstation::program {

class Context;

struct PackArguments {
  std::vector<std::string> names;  ///< an archive, with a project before it
  std::string folder;
  std::vector<std::string> excluded;
  bool onlyTop = false;
};

struct UnpackArguments {
  std::string archive;
  std::string target;
};

ExitCode packArchive(Context& context, const PackArguments& arguments);
ExitCode unpackArchive(Context& context, const UnpackArguments& arguments);

}  // namespace workstation::program
