#include "filters/UploadFilters.h"

#include <string>

#include "host/Project.h"
#include "host/Users.h"
#include "platform/Text.h"

namespace Quorvel::FileAccess {
namespace {

std::wstring withUserExtension(const wchar_t* text) {
  const bool isNamed = std::wstring_view(text).find(L"%s") != std::wstring_view::npos;
  return isNamed ? platform::formatWide(text, lzbext()) : text;
}

UploadRuleKind ruleKindOf(SyncFilterKind kind) {
  switch (kind) {
    case SyncFilterExtension:
      return UploadRuleKind::Extension;
    case SyncFilterExactFile:
      return UploadRuleKind::ExactFile;
    case SyncFilterDirectory:
      return UploadRuleKind::Directory;
    case SyncFilterLeftMatch:
      return UploadRuleKind::LeftMatch;
  }
  return UploadRuleKind::ExactFile;
}

void addRules(const std::vector<UploadRule>& rules, WGO_FileFilter& filter) {
  for (const UploadRule& rule : rules) WGO_addUploadRule(rule, filter);
}

void addTable(const RuleTable& table, WGO_FileFilter& filter) {
  std::vector<UploadRule> rules;
  appendRules(table, rules);
  addRules(rules, filter);
}

void addRoad(UploadRoad road, WGO_FileFilter& filter) {
  for (const RuleTable* table : tablesOf(road)) addTable(*table, filter);
  WGO_AddPrjDirFilter_UserDefinedAddOns(get_ActivePrj().GetDirectoryName(), filter);
}

}  // namespace

void appendRules(const RuleTable& table, std::vector<UploadRule>& rules) {
  for (const FixedRule& rule : table.rules) {
    rules.push_back({rule.kind, rule.include, withUserExtension(rule.text), rule.type, table.name, 0});
  }
}

void appendRules(const SyncFilterEntries& entries, bool include, const std::wstring& path,
                 std::vector<UploadRule>& rules) {
  for (const auto& [entry, line] : entries) {
    rules.push_back({ruleKindOf(entry.first), include, entry.second, eFileType_Unknown, path, line});
  }
}

void AddPrjDirFilter_BaseRules(WGO_FileFilter& filter) {
  addTable(kBaseRules, filter);
}

void AddPrjDirFilter_InternalFiles(WGO_FileFilter& filter) {
  addTable(kInternalFiles, filter);
}

void AddPrjDirFilter_UserFiles(WGO_FileFilter& filter) {
  addTable(kUserFiles, filter);
}

void AddPrjDirFilter_ResourceFiles(WGO_FileFilter& filter) {
  addTable(kResourceFiles, filter);
}

bool ApplySyncFilterExcludes(const wchar_t* projectName, WGO_FileFilter& filter) {
  if (projectName == nullptr) return false;
  SyncFilterEntries entries;
  ReadSyncFilterExcludes(projectName, entries);
  std::vector<UploadRule> rules;
  appendRules(entries, false, BuildSyncFilterPath(projectName), rules);
  for (const UploadRule& rule : rules) {
    if (turnsSynchronisationOff(rule)) return false;
    WGO_addUploadRule(rule, filter);
  }
  return true;
}

void WGO_GetPrjDirUploadFilter(WGO_FileFilter& filter, bool withAllProjectFiles) {
  addRoad(withAllProjectFiles ? UploadRoad::AllProjectFiles : UploadRoad::Directory, filter);
}

void WGO_GetPrjCopyUploadFilter(WGO_FileFilter& filter) {
  addRoad(UploadRoad::ProjectCopy, filter);
}

void WGO_GetCorUploadFilter(WGO_FileFilter& filter) {
  addTable(kResourceContainers, filter);
}

void WGO_Exclude_From_BackgroundUpload(WGO_FileFilter& filter) {
  addTable(kBackgroundUpload, filter);
}

void WGO_AddPrjDirFilter_BimSubdir(WGO_FileFilter& filter) {
  addTable(kSetAside, filter);
  addTable(kBaseRules, filter);
}

void WGO_AddPrjDirFilter_ExcludeTBPlanFiles(WGO_FileFilter& filter) {
  addTable(kDrawingsAndPlans, filter);
}

void WGO_AddPrjDirFilter_OtherwayHandled_BackgroundUploadedFiles(WGO_FileFilter& filter) {
  addTable(kOtherRoads, filter);
}

void WGO_AddPrjDirFilter_UserDefinedAddOns(const wchar_t* projectName, WGO_FileFilter& filter) {
  if (projectName == nullptr) return;
  SyncFilterEntries entries;
  ReadSyncFilterIncludes(projectName, entries);
  std::vector<UploadRule> rules;
  appendRules(entries, true, BuildSyncFilterPath(projectName), rules);
  addRules(rules, filter);
}

}  // namespace Quorvel::FileAccess
