// cache info: the project's files on this workstation.
#include <CLI/CLI.hpp>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/CacheContent.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Saving.h"

namespace workstation::program {

namespace {

std::wstring shownDirectory(const CacheContent& content) {
  return platform::fromUtf8(platform::systemPath(content.directory));
}

std::vector<Field> fieldsOf(const PRJ& project, const CacheContent& content) {
  return {{"project", project.GetProjectDisplayName()},
          {"directory", shownDirectory(content)},
          {"files", static_cast<std::int64_t>(content.files)},
          {"bytes", static_cast<std::int64_t>(content.bytes)},
          {"complete", content.isWhole},
          {"unsent", static_cast<std::int64_t>(content.unsent.size())}};
}

void reportUnsent(const Context& context, const CacheContent& content) {
  for (const auto& unsent : content.unsent) report(context, unsent.item, L"not sent", unsent.reason);
}

ExitCode info(Context& context) {
  context.startInProject();
  const CacheContent content = readCache(context);
  const std::wstring text = platform::formatWide(
      L"%s: %s, %d files, %d bytes, %s", get_ActivePrj().GetProjectDisplayName(), shownDirectory(content),
      static_cast<long long>(content.files), static_cast<long long>(content.bytes),
      content.isWhole ? L"complete" : L"not complete; the next load brings everything");
  context.output().result(text, fieldsOf(get_ActivePrj(), content));
  reportUnsent(context, content);
  return ExitCode::Done;
}

}  // namespace

void addCacheCommands(CLI::App& app, Action& selected) {
  auto* cache = app.add_subcommand("cache", "The project's files on this workstation")->require_subcommand(1);
  cache->add_subcommand("info", "Tell what is here, and what of it the store does not have")->callback([&selected] {
    selected = info;
  });
}

}  // namespace workstation::program
