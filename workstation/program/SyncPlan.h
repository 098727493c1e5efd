// What a sync of a tree here with a tree on a server has to do. Pure: looks at nothing but the two listings.
//
// Times decide, without tolerance: after each transfer the file here has the time of the server's. Sizes only show that
// something is wrong.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "workstation/program/ServerTree.h"

namespace workstation::program {

enum class SyncAction {
  Move,  ///< newer at its source, or missing at the target
  InStep,
  Newer,    ///< newer at the target: stays
  Differs,  ///< equal times with different sizes: a person has to say which one is right
  Resume,   ///< up: its last upload was interrupted; the server's may be a piece of it
  Pending,  ///< down: the same, and it stays
};

struct SyncStep {
  SyncAction action;
  TreeFile source;
  std::optional<TreeFile> target;
};

/// What has to go up.
std::vector<SyncStep> planUp(const Tree& here, const Tree& server);
/// What has to come down.
std::vector<SyncStep> planDown(const Tree& here, const Tree& server);
/// Directories of `source` that `target` has not, parents first.
std::vector<std::wstring> missingDirectories(const Tree& source, const Tree& target);

}  // namespace workstation::program
