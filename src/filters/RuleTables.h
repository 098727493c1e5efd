// The program's own rules on what travels, in tables. The order of rules is the order in which filters take them.
#pragma once

#include <span>
#include <vector>

#include "zephor/UploadRules.h"

namespace Quorvel::FileAccess {

struct FixedRule {
  /// "%s" stands for the extension of this user's files, see lzbext.
  const wchar_t* text;
  QuorvelFileType type;
  UploadRuleKind kind;
  bool include = false;
};

struct RuleTable {
  const wchar_t* name;  ///< for people
  std::span<const FixedRule> rules;
};

extern const RuleTable kBaseRules;
/// Files of the online machinery and of the project database.
extern const RuleTable kInternalFiles;
/// State of one user.
extern const RuleTable kUserFiles;
/// Resources that the cache or other services handle.
extern const RuleTable kResourceFiles;
/// Kept out of every upload of a project, besides.
extern const RuleTable kSetAside;
extern const RuleTable kDrawingsAndPlans;
extern const RuleTable kOtherRoads;
extern const RuleTable kResourceContainers;
extern const RuleTable kBackgroundUpload;

/// Tables that a filter takes before the user's rules.
std::vector<const RuleTable*> tablesOf(UploadRoad road);

}  // namespace Quorvel::FileAccess
