// background: what the last watch, or the CAD application, has sent and deleted by itself.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>

#include "host/Project.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

constexpr const wchar_t* kLog = L"OndrathBackgroundService.log.xml";
constexpr std::uint64_t kLargest = std::uint64_t{256} << 20U;

struct Entry {
  std::wstring kind;
  std::wstring file;
  std::wstring time;
  std::uint32_t error = 0;
};

[[noreturn]] void refuse(const std::wstring& path, const std::string& text, std::ptrdiff_t offset,
                         const std::wstring& expected) {
  const auto end = std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)), text.size());
  const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
  throw CommandFailure{ExitCode::Failure,
                       platform::formatWide(L"%s line %lld: %s", path, static_cast<long long>(line), expected)};
}

/// @return nothing for a text that is no code
std::optional<std::uint32_t> codeOf(const std::string& text) {
  constexpr std::size_t kLength = 10;
  if (text.size() != kLength || !text.starts_with("0x")) return std::nullopt;
  if (text.find_first_not_of("0123456789abcdefABCDEF", 2) != std::string::npos) return std::nullopt;
  return static_cast<std::uint32_t>(std::stoul(text, nullptr, 16));
}

std::string readLog(const std::wstring& path) {
  const platform::FileStatus status = platform::fileStatus(path);
  if (!status.exists) {
    throw CommandFailure{ExitCode::Failure, L"there is no " + path + L": nothing was sent in the background yet"};
  }
  if (status.size > kLargest) throw CommandFailure{ExitCode::Failure, path + L" is larger than any such log"};
  std::ifstream stream(platform::systemPath(path), std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.good() && !stream.eof()) throw CommandFailure{ExitCode::Failure, path + L" can't be read"};
  return text;
}

std::vector<Entry> parseLog(const std::wstring& path, const std::string& text) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size());
  if (!parsed) refuse(path, text, parsed.offset, L"it is damaged: " + platform::fromUtf8(parsed.description()));
  const pugi::xml_node root = document.child("BackgroundServicesCollection");
  if (!root) refuse(path, text, 0, L"expected the element BackgroundServicesCollection");
  std::vector<Entry> entries;
  for (const pugi::xml_node node : root.children()) {
    const std::string kind = node.name();
    if (kind != "Upload" && kind != "Delete") refuse(path, text, node.offset_debug(), L"expected Upload or Delete");
    const auto code = codeOf(node.child_value("Error"));
    if (!node.child("File") || !node.child("Time") || !code) {
      refuse(path, text, node.offset_debug(), L"expected File, Time and an Error of the form 0x00000000");
    }
    entries.push_back({platform::toLower(platform::fromUtf8(kind)), platform::fromUtf8(node.child_value("File")),
                       platform::fromUtf8(node.child_value("Time")), *code});
  }
  return entries;
}

std::wstring textOf(const Entry& entry) {
  if (entry.error == ERROR_SUCCESS) return entry.kind == L"delete" ? L"deleted in the store" : L"sent";
  if (entry.error == ERROR_FILE_NOT_FOUND) return L"the file was gone, or open";
  return entry.kind == L"delete" ? L"not deleted in the store" : L"not sent";
}

ExitCode showLog(Context& context, bool onlyErrors) {
  context.startInProject();
  const std::wstring path = platform::joinPath(get_ActivePrj().GetFullProjectPath(true), kLog);
  Table table({{"time", L"TIME"}, {"kind", L"KIND"}, {"file", L"FILE"}, {"error", L"ERROR"}, {"text", L"RESULT"}});
  for (const Entry& entry : parseLog(path, readLog(path))) {
    if (onlyErrors && entry.error == ERROR_SUCCESS) continue;
    table.row({entry.time, entry.kind, entry.file, platform::formatWide(L"0x%08x", entry.error), textOf(entry)});
  }
  if (table.empty()) context.output().message(onlyErrors ? L"nothing failed" : L"nothing was sent or deleted");
  table.print(context.output());
  return ExitCode::Done;
}

}  // namespace

void addBackgroundCommands(CLI::App& app, Action& selected) {
  auto* group = app.add_subcommand("background", "What was sent and deleted without being asked");
  group->require_subcommand(1);
  auto* log = group->add_subcommand("log", "Show what the last watch has sent and deleted, and what failed");
  auto onlyErrors = std::make_shared<bool>(false);
  log->add_flag("--errors", *onlyErrors, "Only what failed");
  log->callback(
      [&selected, onlyErrors] { selected = [onlyErrors](Context& context) { return showLog(context, *onlyErrors); }; });
}

}  // namespace workstation::program
