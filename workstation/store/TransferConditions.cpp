#include "workstation/store/TransferConditions.h"

#include <mutex>
#include <unordered_map>

#include "platform/Text.h"

namespace workstation {

namespace {

struct Laid {
  std::mutex mutex;
  std::wstring project;
  std::unordered_map<std::wstring, TransferCondition> byName;  // in lower case
};

Laid& laid() {
  static Laid instance;
  return instance;
}

}  // namespace

ScopedTransferConditions::ScopedTransferConditions(const std::wstring& project,
                                                   const std::vector<TransferCondition>& conditions) {
  const std::lock_guard guard(laid().mutex);
  laid().project = project;
  laid().byName.clear();
  for (const TransferCondition& condition : conditions) {
    laid().byName.insert_or_assign(platform::toLower(condition.name), condition);
  }
}

ScopedTransferConditions::~ScopedTransferConditions() {
  const std::lock_guard guard(laid().mutex);
  laid().byName.clear();
}

std::optional<TransferCondition> transferCondition(const std::wstring& project, const std::wstring& name) {
  const std::lock_guard guard(laid().mutex);
  if (laid().byName.empty() || !platform::equalsIgnoreCase(project, laid().project)) return std::nullopt;
  const auto found = laid().byName.find(platform::toLower(name));
  return found == laid().byName.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace workstation
