// Whoever sends or deletes a file waits until others in this process are done with it. An upload that read the file
// before a save can so never put its content over that of an upload that read it behind.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace workstation {

/// Held from before the file is looked at until the store has it. Names as for a transfer, in any letter case; one
/// scope in a thread at a time.
class TransferTurn {
 public:
  TransferTurn(const std::wstring& project, const std::vector<std::wstring>& names);
  ~TransferTurn();
  TransferTurn(const TransferTurn&) = delete;
  TransferTurn& operator=(const TransferTurn&) = delete;

 private:
  std::vector<std::set<std::wstring>::iterator> held_;
};

}  // namespace workstation
