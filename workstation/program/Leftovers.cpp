// What a look at the project finds beside its items: leftovers of killed loads, and what is never sent.
#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"
#include "workstation/program/ItemStamps.h"
#include "workstation/program/ProjectComparison.h"
#include "workstation/program/Saving.h"
#include "workstation/program/SyncBase.h"
#include "workstation/store/DirectoryScan.h"
#include "workstation/store/LocalTree.h"
#include "workstation/store/StoreError.h"

namespace workstation::program {

namespace {

/// Content that the store has, or that was in step, is nobody's unsent work.
class KnownContents {
 public:
  KnownContents(Context& context, const ProjectComparison& comparison)
      : context_(context),
        comparison_(comparison),
        record_(CacheRecord::of(comparison.projectUuid, comparison.directory)),
        bases_(comparison.projectUuid) {}

  bool has(const std::wstring& name, const FileContent& content) {
    StoredFile stored;
    const bool isStored =
        context_.store().findFile(context_.actor(), comparison_.projectUuid, name, stored) == kStoreOk;
    if (isStored && stored.sha256 == content.sha256) return true;
    const SeenFile* const seen = record_ != nullptr ? record_->find(name) : nullptr;
    if (seen != nullptr && (seen->settled.sha256 == content.sha256 || seen->announced.sha256 == content.sha256)) {
      return true;
    }
    const auto base = bases_.get(name);
    return base && base->here == stampOf(content);
  }

 private:
  Context& context_;
  const ProjectComparison& comparison_;
  std::unique_ptr<CacheRecord> record_;
  SyncBase bases_;
};

}  // namespace

std::size_t rescueLeftovers(Context& context, const ProjectComparison& comparison) {
  if (comparison.leftovers.empty()) return 0;
  KnownContents known(context, comparison);
  std::size_t rescued = 0;
  for (const std::wstring& leftover : comparison.leftovers) {
    std::string leaf;
    isLeftoverOfLoad(platform::toUtf8(platform::fileNameOf(leftover)), leaf);
    const std::wstring directory = platform::directoryOf(leftover);
    const std::wstring name =
        directory.empty() ? platform::fromUtf8(leaf) : platform::joinPath(directory, platform::fromUtf8(leaf));
    try {
      const std::wstring kept = clearLeftover(comparison.directory, leftover,
                                              [&](const FileContent& content) { return known.has(name, content); });
      if (kept.empty()) continue;
      report(context, name, L"rescued", L"work that a killed load had taken out is in " + kept);
    } catch (const StoreError& error) {
      report(context, leftover, L"kept",
             L"left by a load that was killed, and can't be brought to safety: " + error.text);
    }
    ++rescued;
  }
  return rescued;
}

std::size_t rescueLeftovers(Context& context) {
  ProjectComparison found;
  const PRJ project = get_ActivePrj();
  found.projectUuid = project.GetOndrathProjectUuid();
  found.directory = project.GetFullProjectPath(true);
  std::string replaced;
  for (const ScannedFile& file : scanDirectory(platform::systemPath(found.directory), isPrivateKey).files) {
    const std::string_view leaf = std::string_view(file.name).substr(file.name.rfind('\\') + 1);
    if (isLeftoverOfLoad(leaf, replaced)) found.leftovers.push_back(platform::fromUtf8(file.name));
  }
  return rescueLeftovers(context, found);
}

void tellNeverSent(const Context& context, const ProjectComparison& comparison) {
  if (comparison.neverSent == 0) return;
  context.output().message(platform::formatWide(
      comparison.neverSent == 1 ? L"%llu file here is never sent (zephor filter test FILE tells why)"
                                : L"%llu files here are never sent (zephor filter test FILE tells why)",
      static_cast<unsigned long long>(comparison.neverSent)));
}

}  // namespace workstation::program
