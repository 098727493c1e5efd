#include "workstation/program/SyncPlan.h"

#include <map>
#include <set>

#include "platform/Time.h"
#include "workstation/Servers.h"

namespace workstation::program {

namespace {

/// Finds a file by its exact path, otherwise by one that differs in letter case only.
class Index {
 public:
  explicit Index(const Tree& tree) {
    for (const TreeFile& file : tree.files) {
      exact_.emplace(file.path(), &file);
      anyCase_.emplace(file.path(), &file);
    }
  }
  const TreeFile* find(const std::wstring& path) const {
    if (const auto found = exact_.find(path); found != exact_.end()) return found->second;
    const auto found = anyCase_.find(path);
    return found == anyCase_.end() ? nullptr : found->second;
  }

 private:
  std::map<std::wstring, const TreeFile*> exact_;
  std::map<std::wstring, const TreeFile*, IgnoreCaseLess> anyCase_;
};

SyncAction actionFor(const TreeFile& source, const TreeFile* target) {
  if (target == nullptr) return SyncAction::Move;
  const LONG order = CompareFileTime(&source.time, &target->time);
  if (order != 0) return order > 0 ? SyncAction::Move : SyncAction::Newer;
  return source.size == target->size ? SyncAction::InStep : SyncAction::Differs;
}

/// What a first download that was interrupted leaves here: the beginning of a file that only the server has.
bool isLeftOfFetch(const SyncStep& step, const Index& server) {
  const std::wstring path = step.source.path();
  if (step.target || !path.ends_with(kFetchingSuffix)) return false;
  return server.find(path.substr(0, path.size() - std::char_traits<wchar_t>::length(kFetchingSuffix))) != nullptr;
}

std::vector<SyncStep> plan(const Tree& source, const Tree& target, SyncAction whenInterrupted) {
  const Index index(target);
  std::vector<SyncStep> steps;
  for (const TreeFile& file : source.files) {
    const TreeFile* const other = index.find(file.path());
    SyncStep step{actionFor(file, other), file, std::nullopt};
    if (other != nullptr) step.target = *other;
    const bool isInterrupted = other != nullptr && (file.interrupted || other->interrupted);
    // A server's file that is older than the one here is what was there before that upload.
    const SyncAction serverIsNewer = whenInterrupted == SyncAction::Resume ? SyncAction::Newer : SyncAction::Move;
    if (isInterrupted && (step.action == serverIsNewer || step.action == SyncAction::Differs)) {
      step.action = whenInterrupted;
    }
    steps.push_back(std::move(step));
  }
  return steps;
}

}  // namespace

std::vector<SyncStep> planUp(const Tree& here, const Tree& server) {
  std::vector<SyncStep> steps = plan(here, server, SyncAction::Resume);
  const Index index(server);
  std::erase_if(steps, [&](const SyncStep& step) { return isLeftOfFetch(step, index); });
  return steps;
}

std::vector<SyncStep> planDown(const Tree& here, const Tree& server) {
  return plan(server, here, SyncAction::Pending);
}

std::vector<std::wstring> missingDirectories(const Tree& source, const Tree& target) {
  const std::set<std::wstring, IgnoreCaseLess> known(target.directories.begin(), target.directories.end());
  std::vector<std::wstring> missing;
  for (const std::wstring& directory : source.directories) {
    if (!known.contains(directory)) missing.push_back(directory);
  }
  return missing;
}

}  // namespace workstation::program
