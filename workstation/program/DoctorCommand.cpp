// doctor: what this workstation can do, what is wrong with it, and what to do about it.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "platform/Text.h"
#include "workstation/Session.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/DoctorChecks.h"
#include "workstation/store/StoreContext.h"

namespace workstation::program {

namespace {

std::wstring nameOf(Health health) {
  if (health == Health::Ok) return L"ok";
  return health == Health::Warning ? L"warning" : L"problem";
}

/// Runs the checks of one thing. @return false, with a finding, when it can't be had at all
template <typename Work>
bool attempt(Findings& findings, const wchar_t* check, const wchar_t* remedy, Work&& work) {
  try {
    work();
    return true;
  } catch (const CommandFailure& failure) {
    findings.push_back({check, Health::Problem, failure.message, remedy});
    return false;
  }
}

void checkOpenProject(Context& context, bool isOnline, Findings& findings) {
  std::wstring wanted = wide(context.options().project);
  std::wstring uuid;
  std::wstring error;
  if (isOnline && !wanted.empty() && findProjectUuid(wanted, uuid, error)) wanted = uuid;
  if (openCache(wanted, error)) {
    checkProject(findings);
  } else {
    findings.push_back({L"project", Health::Warning, error, L"zephor open PROJECT"});
  }
}

Findings examine(Context& context, bool withServers) {
  Findings findings;
  const bool mayProbe = !context.options().dryRun;
  const bool isStarted = attempt(findings, L"workstation", L"zephor init, or repair what is named", [&] {
    context.startWorkstation();
    checkWorkstation(findings, mayProbe);
  });
  if (!isStarted) return findings;
  bool isOnline = false;
  if (storeContextDirectory().empty()) {
    findings.push_back({L"store", Health::Ok, L"none: this workstation works with servers alone"});
  } else {
    isOnline = attempt(findings, L"store",
                       L"mount its disk, or repair what is named; zephor init --replace names another store", [&] {
                         context.startOnline();
                         checkStore(context, findings, mayProbe);
                       });
    checkStoreDatabase(findings, storeContextDirectory());
    checkOpenProject(context, isOnline, findings);
  }
  if (withServers) checkServers(findings);
  return findings;
}

ExitCode doctor(Context& context, bool withServers) {
  const Findings findings = examine(context, withServers);
  for (const Finding& finding : findings) {
    const std::wstring state = nameOf(finding.health);
    const std::wstring remedy = finding.remedy.empty() ? L"" : L"; to do: " + finding.remedy;
    context.output().result(
        platform::formatWide(L"%-8s %s: %s%s", state, finding.check, finding.detail, remedy),
        {{"check", finding.check}, {"state", state}, {"detail", finding.detail}, {"remedy", finding.remedy}});
  }
  const bool isWell = std::none_of(findings.begin(), findings.end(),
                                   [](const Finding& finding) { return finding.health == Health::Problem; });
  return isWell ? ExitCode::Done : ExitCode::PartlyDone;
}

}  // namespace

void addDoctorCommand(CLI::App& app, Action& selected) {
  auto* command = app.add_subcommand("doctor", "Tell what this workstation can do, what is wrong, and what to do");
  auto withServers = std::make_shared<bool>(false);
  command->add_flag("--servers", *withServers, "Also try the servers that are known here");
  command->callback([&selected, withServers] {
    selected = [withServers](Context& context) { return doctor(context, *withServers); };
  });
}

}  // namespace workstation::program
