#include "filters/RuleTables.h"

namespace Quorvel::FileAccess {
namespace {

constexpr FixedRule extension(const wchar_t* text) {
  return {text, eFileType_Unknown, UploadRuleKind::Extension};
}
constexpr FixedRule exact(const wchar_t* name) {
  return {name, eFileType_Unknown, UploadRuleKind::ExactFile};
}
constexpr FixedRule includeExact(const wchar_t* name) {
  return {name, eFileType_Unknown, UploadRuleKind::ExactFile, true};
}
constexpr FixedRule left(const wchar_t* prefix) {
  return {prefix, eFileType_Unknown, UploadRuleKind::LeftMatch};
}
constexpr FixedRule directory(const wchar_t* name) {
  return {name, eFileType_Unknown, UploadRuleKind::Directory};
}
constexpr FixedRule type(QuorvelFileType of) {
  return {L"", of, UploadRuleKind::FileType};
}

constexpr FixedRule kBase[] = {extension(L".bak"), extension(L".log"), extension(L".mdb"), includeExact(L"version.txt"),
                               exact(L"Desktop.ini")};

constexpr FixedRule kInternal[] = {
    extension(L".lck"),
    exact(L"ztbres"),
    exact(L"project.new"),
    exact(L"TBTimeStamp.xml"),
    exact(L"AutoBackupSettings.xml"),
    exact(L"NotUploadedFiles.xml"),
    exact(L"WGO_SyncFilter.xml"),
    extension(L".dirty"),
    left(L"QuorvelProjectDB"),
    left(L"ProjectADMe"),
    extension(L".db3-journal"),
    extension(L".db3-wal"),
    extension(L".part"),
    exact(L"OndrathBackgroundService.log.xml"),
};

constexpr FixedRule kUser[] = {
    left(L"bookmarks_uid"),
    left(L"LayerUndo"),
    left(L"lpauser"),
    left(L"lpmuser"),
    left(L"usrprj"),
    left(L"tbwahl"),
    left(L"ActiveGraphicOverride"),
    includeExact(L"tbwahl.%s"),  // this user's own
};

constexpr FixedRule kResource[] = {
    extension(L".%s"),  extension(L".inuse"),       exact(L".share.config"),    extension(L".idx"), extension(L".idt"),
    exact(L"lockpman"), exact(L"locktbs"),          directory(L"Lck"),          directory(L"BIM"),  left(L"grp2lay."),
    left(L"layerdef."), exact(L"lbginfo.dat"),      exact(L"lpainfo.dat"),      left(L"lba0"),      left(L"lbd0"),
    left(L"lay0"),      exact(L"associations.dat"), directory(L"Associations"),
};

constexpr FixedRule kAside[] = {extension(L".conflict"), exact(L"BWS_activated"), exact(L"lockpman"),
                                directory(L"Backup"), directory(L"Old")};

constexpr FixedRule kDrawings[] = {type(eFileType_Teilbild), type(eFileType_Plan), type(eFileType_Zeichnung)};

constexpr FixedRule kBroughtOtherwise[] = {
    type(eFileType_ResourceA), type(eFileType_ResourceB), exact(L"displaytype.sty"), exact(L"facestyle.sty"),
    exact(L"linestyle.sty"),   exact(L"linethick.dat"),   exact(L"linetype.dat"),    directory(L"design"),
};

constexpr FixedRule kDirectoryUpload[] = {exact(L"PrjAtt.dat"), exact(L"mark_numbering.db3"), exact(L".share.db")};
constexpr FixedRule kBridgeDirectory[] = {directory(L"Bridge")};
constexpr FixedRule kContainers[] = {directory(L".cor")};
constexpr FixedRule kBackground[] = {exact(L"Desktop.ini")};
constexpr FixedRule kAttributes[] = {exact(L"PrjAtt.dat")};

constexpr RuleTable kProjectDirectory{L"project directory", kDirectoryUpload};
constexpr RuleTable kBridge{L"bridge", kBridgeDirectory};
constexpr RuleTable kProjectAttributes{L"project attributes", kAttributes};

}  // namespace

constexpr RuleTable kBaseRules{L"base rules", kBase};
constexpr RuleTable kInternalFiles{L"internal files", kInternal};
constexpr RuleTable kUserFiles{L"user files", kUser};
constexpr RuleTable kResourceFiles{L"resource files", kResource};
constexpr RuleTable kSetAside{L"set aside", kAside};
constexpr RuleTable kDrawingsAndPlans{L"drawings and plans", kDrawings};
constexpr RuleTable kOtherRoads{L"other roads", kBroughtOtherwise};
constexpr RuleTable kResourceContainers{L"resource containers", kContainers};
constexpr RuleTable kBackgroundUpload{L"background upload", kBackground};

std::vector<const RuleTable*> tablesOf(UploadRoad road) {
  switch (road) {
    case UploadRoad::Directory:
      return {&kBaseRules,     &kInternalFiles, &kUserFiles, &kProjectDirectory, &kSetAside, &kDrawingsAndPlans,
              &kResourceFiles, &kOtherRoads,    &kBridge};
    case UploadRoad::AllProjectFiles:
      return {&kBaseRules, &kInternalFiles, &kUserFiles, &kProjectDirectory, &kSetAside};
    case UploadRoad::ProjectCopy:
      return {&kBaseRules, &kInternalFiles, &kUserFiles, &kSetAside};
    case UploadRoad::Synchronisation:
      return {&kBaseRules, &kInternalFiles, &kUserFiles, &kProjectAttributes};
  }
  return {};
}

}  // namespace Quorvel::FileAccess
