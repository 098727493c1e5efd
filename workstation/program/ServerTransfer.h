// Files that move, as `get`, `put` and `sync` share them: in parallel first, then one by one what did not arrive.
#pragma once

#include <string>
#include <vector>

#include "workstation/program/ServerTree.h"

namespace workstation::program {

class ServerProgress;
class ServerSession;

/// A file with both of its places.
struct Transfer {
  std::wstring shown;            ///< as the user is told of it
  std::wstring serverDirectory;  ///< below the base directory
  std::wstring localDirectory;   ///< library path
  TreeFile file;                 ///< the name, and what its source says of it
  bool isDone = false;
  std::wstring problem;  ///< why it is not done
};

/// Brings files down. Each is looked at afterwards: what counts as done is here, whole and with the server's time.
void fetchAll(ServerSession& session, std::vector<Transfer>& files);

/// Library path of its local file.
std::wstring localPathOf(const Transfer& file);

/// True when the connection is gone and another try would only wait for the same.
bool isConnectionLost(unsigned long code);

}  // namespace workstation::program
