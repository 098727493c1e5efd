#include "workstation/program/PushItems.h"

#include <set>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/ChangesSnapshot.h"
#include "workstation/program/StoredContent.h"
#include "workstation/program/SyncBase.h"

namespace workstation::program {

namespace {

bool isAsLastInStep(const ItemName& item, const SyncBase& bases) {
  const auto base = bases.get(item.fileName);
  return base && readLocal(item).here == base->here;
}

}  // namespace

std::wstring itemKey(const std::wstring& fileName) {
  return platform::toLower(fileName);
}

bool PushItem::isDoneBy(const ItemView& now) const {
  if (isToDelete()) return !now.store;
  if (!isToSend() || !sent || !now.same || now.here != sent) return false;
  // Time and size alone would take an older file of the store for this one.
  return hasStoredHeader(now) || now.store != before.store || isContentStored(now.fileName);
}

PushFiles::PushFiles(const ProjectLook& look) {
  for (const auto& file : look.now) {
    paths_.emplace(itemKey(itemOfFile(nameInProject(look, file.first)).fileName), file.first);
  }
}

PushFile PushFiles::of(const std::wstring& fileName) const {
  const auto [begin, end] = paths_.equal_range(itemKey(fileName));
  if (begin == end) return {};
  // An item is judged, locked and given its header by its name: that has to lead to the file that is sent.
  const bool isOnly = std::next(begin) == end;
  const bool isJudged = platform::systemPath(itemPath(fileName)) == platform::systemPath(begin->second);
  return {begin->second, !isOnly || !isJudged};
}

std::vector<ItemName> itemsToPush(const ProjectLook& look, const SyncBase& bases) {
  std::vector<ItemName> items;
  std::set<std::wstring> known;
  const auto add = [&](ItemName item) {
    if (known.insert(itemKey(item.fileName)).second) items.push_back(std::move(item));
  };
  for (const auto& change : look.changes) {
    const std::wstring name = nameInProject(look, change.fileName);
    if (!isPrivateFile(name)) add(itemOfFile(name));
  }
  for (const auto& file : look.now) {
    ItemName item = itemOfFile(nameInProject(look, file.first));
    if (look.isFirst || !isAsLastInStep(item, bases)) add(std::move(item));
  }
  for (const std::wstring& name : storedNames(look.missing)) add(itemOfFile(name));
  return items;
}

}  // namespace workstation::program
