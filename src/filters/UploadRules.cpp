#include "zephor/UploadRules.h"

#include "filters/UploadFilters.h"
#include "host/Project.h"

namespace Quorvel::FileAccess {
namespace {

/// True when the rule by itself, were it one that keeps names out, would keep this one out.
bool hits(UploadRule rule, const std::wstring& name) {
  rule.include = false;
  WGO_FileFilter filter;
  WGO_addUploadRule(rule, filter);
  if (rule.kind == UploadRuleKind::Directory) return filter.IsDirectoryExcluded(name.c_str());
  return !name.empty() && filter.IsFileExcluded(name.c_str());
}

}  // namespace

std::vector<UploadRule> WGO_describeUploadRules(UploadRoad road) {
  std::vector<UploadRule> rules;
  for (const RuleTable* table : tablesOf(road)) appendRules(*table, rules);
  const std::wstring path = BuildSyncFilterPath(get_ActivePrj().GetDirectoryName());
  const bool include = road != UploadRoad::Synchronisation;
  SyncFilterEntries entries;
  readSyncFilterFile(path, include ? kIncludeLines : kExcludeLines, entries);
  appendRules(entries, include, path, rules);
  return rules;
}

void WGO_addUploadRule(const UploadRule& rule, WGO_FileFilter& filter) {
  const wchar_t* text = rule.text.c_str();
  switch (rule.kind) {
    case UploadRuleKind::Extension:
      return rule.include ? filter.IncludeFileExtension(text) : filter.ExcludeFileExtension(text);
    case UploadRuleKind::ExactFile:
      return rule.include ? filter.IncludeFileExact(text) : filter.ExcludeFileExact(text);
    case UploadRuleKind::LeftMatch:
      return rule.include ? filter.IncludeFileLeftMatch(text) : filter.ExcludeFileLeftMatch(text);
    case UploadRuleKind::Directory:
      return rule.include ? filter.IncludeDirectoryExact(text) : filter.ExcludeDirectoryExact(text);
    case UploadRuleKind::FileType:
      if (!rule.include) filter.ExcludeFileType(rule.type);
      return;
  }
}

const UploadRule* WGO_findDecidingRule(const std::vector<UploadRule>& rules, const std::wstring& name,
                                       bool isDirectory) {
  for (const bool include : {true, false}) {
    for (const UploadRule& rule : rules) {
      const bool isAsked = rule.include == include && (rule.kind == UploadRuleKind::Directory) == isDirectory;
      if (isAsked && hits(rule, name)) return &rule;
    }
  }
  return nullptr;
}

}  // namespace Quorvel::FileAccess
