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

/// However its slashes are written, as the store takes names.
std::wstring keyOf(const std::wstring& name) {
  std::wstring normal;
  return platform::toLower(normaliseStoreName(name, normal) ? normal : name);
}

Laid& laid() {
  static Laid instance;
  return instance;
}

struct Standing {
  std::mutex mutex;
  std::wstring project;
  std::shared_ptr<TransferJudge> judge;
};

Standing& standing() {
  static Standing instance;
  return instance;
}

template <typename Move>
void withCondition(const std::wstring& project, const std::wstring& name, const Move& move) {
  const std::lock_guard guard(laid().mutex);
  if (laid().byName.empty() || !platform::equalsIgnoreCase(project, laid().project)) return;
  const auto found = laid().byName.find(keyOf(name));
  if (found != laid().byName.end()) move(found->second);
}

}  // namespace

ScopedTransferConditions::ScopedTransferConditions(const std::wstring& project,
                                                   const std::vector<TransferCondition>& conditions) {
  const std::lock_guard guard(laid().mutex);
  laid().project = project;
  laid().byName.clear();
  for (const TransferCondition& condition : conditions) {
    laid().byName.insert_or_assign(keyOf(condition.name), condition);
  }
}

ScopedTransferConditions::~ScopedTransferConditions() {
  const std::lock_guard guard(laid().mutex);
  laid().byName.clear();
  laid().project.clear();
}

bool areTransfersJudged(const std::wstring& project) {
  const std::lock_guard guard(laid().mutex);
  return !project.empty() && platform::equalsIgnoreCase(project, laid().project);
}

std::optional<TransferCondition> transferCondition(const std::wstring& project, const std::wstring& name) {
  std::optional<TransferCondition> laidDown;
  withCondition(project, name, [&](const TransferCondition& condition) { laidDown = condition; });
  return laidDown;
}

void moveConditionHere(const std::wstring& project, const std::wstring& name, const FileContent& here) {
  withCondition(project, name, [&](TransferCondition& condition) { condition.here = here; });
}

void moveConditionInStore(const std::wstring& project, const std::wstring& name, std::int64_t revision) {
  withCondition(project, name, [&](TransferCondition& condition) { condition.revision = revision; });
}

ScopedTransferJudge::ScopedTransferJudge(const std::wstring& project, std::shared_ptr<TransferJudge> judge) {
  const std::lock_guard guard(standing().mutex);
  standing().project = project;
  standing().judge = std::move(judge);
}

ScopedTransferJudge::~ScopedTransferJudge() {
  const std::lock_guard guard(standing().mutex);
  standing().judge.reset();
}

std::shared_ptr<TransferJudge> transferJudge(const std::wstring& project, const std::wstring& name) {
  std::shared_ptr<TransferJudge> judge;
  {
    const std::lock_guard guard(standing().mutex);
    if (platform::equalsIgnoreCase(project, standing().project)) judge = standing().judge;
  }
  return judge && judge->isAskedFor(name) ? judge : nullptr;
}

}  // namespace workstation
