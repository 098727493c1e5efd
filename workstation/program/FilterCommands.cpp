// filter test, show: which files a push takes, and the rule that says so.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Objects.h"
#include "zephor/UploadRules.h"

namespace workstation::program {

namespace {

using Quorvel::FileAccess::UploadRoad;
using Quorvel::FileAccess::UploadRule;
using Quorvel::FileAccess::UploadRuleKind;
using Rules = std::vector<UploadRule>;

struct FilterArguments {
  std::vector<std::string> paths;
  bool directory = false;
  bool sync = false;

  /// Without an option that of changes and push.
  UploadRoad road() const {
    if (sync) return UploadRoad::Synchronisation;
    return directory ? UploadRoad::Directory : UploadRoad::AllProjectFiles;
  }
};

/// A path below the project's directory.
struct ProjectPath {
  std::vector<std::wstring> components;
  bool isDirectory = false;
};

/// What became of a path, and why.
struct Verdict {
  bool travels = true;
  std::wstring part;      ///< the component that was decided on
  std::wstring reason{};  ///< for people, when no rule decided
  std::optional<UploadRule> rule{};
};

const wchar_t* kindName(UploadRuleKind kind) {
  switch (kind) {
    case UploadRuleKind::Extension:
      return L"extension";
    case UploadRuleKind::ExactFile:
      return L"name";
    case UploadRuleKind::LeftMatch:
      return L"beginning";
    case UploadRuleKind::FileType:
      return L"type";
    case UploadRuleKind::Directory:
      return L"directory";
  }
  return L"";
}

std::wstring textOf(const UploadRule& rule) {
  if (rule.kind != UploadRuleKind::FileType) return rule.text;
  switch (rule.type) {
    case eFileType_Teilbild:
      return L"Teilbild";
    case eFileType_Zeichnung:
      return L"Zeichnung";
    case eFileType_Plan:
      return L"Plan";
    default:
      return L"resource " + std::to_wstring(static_cast<int>(rule.type));
  }
}

/// A table by its name, a line of the user's file by both.
std::wstring originOf(const UploadRule& rule) {
  if (rule.line == 0) return L"table \"" + rule.origin + L"\"";
  return platform::formatWide(L"%s line %d", platform::fileNameOf(rule.origin), rule.line);
}

/// What names the origin in JSON.
std::wstring pathOfOrigin(const UploadRule& rule) {
  return rule.line == 0 ? rule.origin : platform::fromUtf8(platform::systemPath(rule.origin));
}

Value lineOf(const UploadRule& rule) {
  return rule.line > 0 ? Value(std::int64_t{rule.line}) : Value();
}

ProjectPath projectPath(const std::string& argument) {
  std::string text = argument;
  std::replace(text.begin(), text.end(), '\\', '/');
  const auto refuse = [&]() -> CommandFailure {
    return {ExitCode::Usage, wide(argument) + L" names nothing below the project's directory"};
  };
  const std::string root = platform::systemPath(get_ActPrjPath());
  const std::filesystem::path whole = (std::filesystem::path(root) / text).lexically_normal();
  const std::wstring relative =
      platform::lexicallyRelative(platform::libraryPath(whole.string()), platform::libraryPath(root));
  ProjectPath result;
  result.isDirectory = text.ends_with('/') || platform::fileStatus(get_ActPrjPath() + L"\\" + relative).isDirectory;
  for (std::size_t begin = 0; begin <= relative.size();) {
    const std::size_t end = std::min(relative.find(L'\\', begin), relative.size());
    const std::wstring component = relative.substr(begin, end - begin);
    begin = end + 1;
    if (component == L"." || component == L".." || component.find(L':') != std::wstring::npos) throw refuse();
    if (!component.empty()) result.components.push_back(component);
  }
  if (result.components.empty()) throw refuse();
  return result;
}

bool isLink(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(itemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/// Why the walk of an upload passes a directory over before any rule is asked; empty when it does not.
/// @param path  below the project's directory
std::wstring whyPassedOver(const std::wstring& path, const std::wstring& name) {
  if (name.starts_with(L'.')) return L"a directory whose name begins with a point";
  if (name.find_first_of(L"*?") != std::wstring::npos) return L"a directory whose name holds a wildcard";
  return isLink(path) ? L"a link to a directory is not followed" : L"";
}

/// As the walk of an upload decides: every directory on the way, then the file.
Verdict decide(const Rules& rules, const ProjectPath& path, UploadRoad road) {
  const auto off = std::find_if(rules.begin(), rules.end(), Quorvel::FileAccess::turnsSynchronisationOff);
  if (off != rules.end()) return {false, path.components.back(), L"", *off};
  Verdict verdict{true, path.components.back()};
  std::wstring walked;
  for (std::size_t i = 0; i < path.components.size(); ++i) {
    const bool isDirectory = i + 1 < path.components.size() || path.isDirectory;
    const std::wstring& part = path.components[i];
    walked += (walked.empty() ? L"" : L"\\") + part;
    const std::wstring passedOver = isDirectory ? whyPassedOver(walked, part) : std::wstring();
    if (!passedOver.empty()) return {false, part, passedOver};
    const UploadRule* rule = Quorvel::FileAccess::WGO_findDecidingRule(rules, part, isDirectory);
    if (rule == nullptr) continue;
    verdict = {rule->include, part, L"", *rule};
    if (!verdict.travels) return verdict;
  }
  if (road != UploadRoad::AllProjectFiles) return verdict;
  if (isPrivateFile(walked)) return {false, path.components.back(), whyPrivate(walked)};
  if (!platform::isSafeRelativeName(walked)) {
    return {false, path.components.back(), L"a name that not every workstation can hold; the store refuses it"};
  }
  return verdict;
}

std::wstring explanation(const Verdict& verdict) {
  if (!verdict.rule) return verdict.reason.empty() ? L"no rule keeps it here" : verdict.part + L": " + verdict.reason;
  const UploadRule& rule = *verdict.rule;
  if (Quorvel::FileAccess::turnsSynchronisationOff(rule)) return L"nothing is synchronised: " + originOf(rule);
  return platform::formatWide(L"%s %s: rule %s %s, %s", verdict.part, rule.include ? L"is let through" : L"is kept out",
                              kindName(rule.kind), textOf(rule), originOf(rule));
}

ExitCode test(Context& context, const FilterArguments& arguments) {
  context.startInProject();
  const Rules rules = Quorvel::FileAccess::WGO_describeUploadRules(arguments.road());
  std::vector<ProjectPath> paths;
  for (const std::string& argument : arguments.paths) paths.push_back(projectPath(argument));
  for (const ProjectPath& path : paths) {
    const Verdict verdict = decide(rules, path, arguments.road());
    std::wstring shown;
    for (const std::wstring& part : path.components) shown += (shown.empty() ? L"" : L"/") + part;
    std::vector<Field> fields = {{"path", shown}, {"travels", verdict.travels}, {"decided_on", verdict.part}};
    if (verdict.rule) {
      const UploadRule& rule = *verdict.rule;
      fields.insert(fields.end(), {{"rule", std::wstring(kindName(rule.kind))},
                                   {"text", textOf(rule)},
                                   {"include", rule.include},
                                   {"origin", pathOfOrigin(rule)},
                                   {"line", lineOf(rule)}});
    } else {
      fields.emplace_back("reason", explanation(verdict));
    }
    context.output().result(
        shown + (verdict.travels ? L": travels (" : L": stays here (") + explanation(verdict) + L")", fields);
  }
  return ExitCode::Done;
}

ExitCode show(Context& context, const FilterArguments& arguments) {
  context.startInProject();
  Table table({{"rule", L"RULE"}, {"text", L"TEXT"}, {"include", L"INCLUDE"}, {"origin", L"FROM"}, {"line", L"LINE"}});
  for (const UploadRule& rule : Quorvel::FileAccess::WGO_describeUploadRules(arguments.road())) {
    const bool isShort = rule.line > 0 && !context.output().json();
    const std::wstring origin = isShort ? platform::fileNameOf(rule.origin) : pathOfOrigin(rule);
    table.row({std::wstring(kindName(rule.kind)), textOf(rule), rule.include, origin, lineOf(rule)});
  }
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace

void addFilterCommands(CLI::App& app, Action& selected) {
  auto* filter = app.add_subcommand("filter", "Which files a push takes")->require_subcommand(1);
  auto arguments = std::make_shared<FilterArguments>();
  const auto addOptions = [&arguments](CLI::App* command) {
    auto* directory = command->add_flag("--directory", arguments->directory,
                                        "For an upload of the directory alone, without objects and resources");
    command->add_flag("--sync", arguments->sync, "For the project's synchronisation")->excludes(directory);
  };

  auto* testCommand = filter->add_subcommand("test", "Tell which rule decides on a path, and from where it comes");
  testCommand->add_option("PATH", arguments->paths, "Below the project's directory, or absolute")->required();
  addOptions(testCommand);
  testCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return test(context, *arguments); }; });
  auto* showCommand = filter->add_subcommand("show", "List the rules in force");
  addOptions(showCommand);
  showCommand->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return show(context, *arguments); }; });
}

}  // namespace workstation::program
