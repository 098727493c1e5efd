// info: what an object file tells about itself, compressed or not, in a project or outside of any.
#include <CLI/CLI.hpp>
#include <memory>

#include "host/Guid.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "workstation/objects/ObjectFile.h"
#include "workstation/program/Arguments.h"
#include "workstation/program/Commands.h"
#include "workstation/program/Context.h"
#include "workstation/program/Drawings.h"

namespace workstation::program {

namespace {

struct Arguments {
  std::vector<std::string> drawings;
  bool check = false;
};

/// The members that the records of all kinds have.
struct Description {
  std::wstring guid;
  std::wstring created;
  std::wstring modified;
  std::int64_t contentSize = 0;
  std::int64_t contentCrc = 0;
  int creator = 0;
  int lastUser = 0;
  std::wstring lastUserName;
};

std::wstring timeText(std::int64_t ticks) {
  SYSTEMTIME time{};
  const FILETIME file = platform::fromTicks(static_cast<std::uint64_t>(ticks));
  if (ticks <= 0 || FileTimeToSystemTime(&file, &time) == FALSE) return L"unknown";
  return platform::formatWide(L"%04d-%02d-%02d %02d:%02d:%02d UTC", int{time.wYear}, int{time.wMonth}, int{time.wDay},
                              int{time.wHour}, int{time.wMinute}, int{time.wSecond});
}

Description describe(const ObjectRecord& record) {
  Description text;
  std::visit(
      [&](const auto& header) {
        text.guid = Quorvel::Cad::Service::ZP_GUIDValueProvider::printGUID(
            GetGUIDFromTwoDoubles(header.guidFirst, header.guidSecond));
        text.created = timeText(header.createdTime);
        text.modified = timeText(header.modifiedTime);
        text.contentSize = header.contentSize;
        text.contentCrc = header.contentCrc;
        text.creator = header.creator;
        text.lastUser = header.lastUser;
        if constexpr (requires { header.userName; }) text.lastUserName = textOfMember(header.userName);
      },
      record);
  return text;
}

const wchar_t* kindName(QuorvelFileType type) {
  if (type == eFileType_Plan) return L"Plan";
  return type == eFileType_Zeichnung ? L"Zeichnung" : L"Teilbild";
}

/// A user's number means somebody only in the object's own project.
std::wstring personText(const Drawing& drawing, int number, const std::wstring& name) {
  const std::wstring shown = name.empty() && drawing.object ? lz_GetUserNameFromUserId(number) : name;
  const std::wstring user = L"user " + std::to_wstring(number);
  return shown.empty() || shown.front() == L'#' ? user : shown + L" (" + user + L")";
}

void printText(const Context& context, const Drawing& drawing, const ObjectFileInfo& info, const Description& text) {
  const auto line = [&](const std::wstring& words) { context.output().result(words, {}); };
  const auto bytes = [](std::uint64_t size) {
    return platform::formatWide(L"%llu bytes", static_cast<unsigned long long>(size));
  };
  line(platform::formatWide(L"%s: %s %d, \"%s\", version %u", drawing.label, kindName(info.type), numberOf(info.record),
                            nameOf(info.record), versionOf(info.record)));
  line(L"  file      " + bytes(info.fileSize) +
       (info.compressed ? L", compressed (" + bytes(info.expandedSize) + L" uncompressed)" : L", not compressed"));
  line(L"  content   " + (info.contentName.empty()
                              ? L"none"
                              : platform::formatWide(L"%s, %s, CRC-32 %08x", info.contentName,
                                                     bytes(static_cast<std::uint64_t>(text.contentSize)),
                                                     static_cast<unsigned>(text.contentCrc))));
  line(L"  GUID      " + text.guid);
  line(L"  made      " + text.created + L" by " + personText(drawing, text.creator, {}));
  line(L"  changed   " + text.modified + L" by " + personText(drawing, text.lastUser, text.lastUserName));
}

/// @param checked  the content was read too, and is whole
void printJson(const Context& context, const Drawing& drawing, const ObjectFileInfo& info, const Description& text,
               bool checked) {
  std::vector<Field> fields{{"item", drawing.label},
                            {"kind", std::wstring(kindName(info.type))},
                            {"number", std::int64_t{numberOf(info.record)}},
                            {"name", nameOf(info.record)},
                            {"version", std::int64_t{versionOf(info.record)}},
                            {"guid", text.guid},
                            {"compressed", info.compressed},
                            {"size", static_cast<std::int64_t>(info.fileSize)},
                            {"uncompressed", static_cast<std::int64_t>(info.expandedSize)},
                            {"content", info.contentName},
                            {"contentSize", text.contentSize},
                            {"contentCrc", platform::formatWide(L"%08x", static_cast<unsigned>(text.contentCrc))},
                            {"made", text.created},
                            {"creator", std::int64_t{text.creator}},
                            {"changed", text.modified},
                            {"lastUser", std::int64_t{text.lastUser}},
                            {"lastUserName", text.lastUserName}};
  if (checked) fields.emplace_back("checked", true);
  context.output().result({}, fields);
}

void tell(const Context& context, const Drawing& drawing, bool check, Tally& tally) {
  ObjectFileInfo info;
  std::wstring error = missingObject(drawing);
  if (!error.empty() || readObjectHeader(drawing.path, info, error) != ERROR_SUCCESS) {
    reportFailure(context, drawing.label, withoutPath(error, drawing.path));
    return tally.failed();
  }
  const Description text = describe(info.record);
  const bool isWhole = check && verifyObject(drawing.path, error) == ERROR_SUCCESS;
  if (context.output().json()) {
    printJson(context, drawing, info, text, isWhole);
  } else {
    printText(context, drawing, info, text);
  }
  if (check && !isWhole) {
    reportFailure(context, drawing.label, withoutPath(error, drawing.path));
    return tally.failed();
  }
  if (check) context.output().message(drawing.label + L": checked, whole");
  tally.done();
}

ExitCode info(Context& context, const Arguments& arguments) {
  const DrawingArguments named = drawingArguments(arguments.drawings);
  Tally tally;
  for (const std::string& file : named.files) {
    try {
      tell(context, drawingOf(file), arguments.check, tally);
    } catch (const CommandFailure& failure) {
      reportFailure(context, wide(file), failure.message);
      tally.failed();
    }
  }
  if (!named.objects.empty()) context.startInProject();
  for (const ObjectName& object : named.objects) tell(context, drawingOf(object), arguments.check, tally);
  return tally.exitCode();
}

}  // namespace

void addInfoCommand(CLI::App& app, Action& selected) {
  auto arguments = std::make_shared<Arguments>();
  auto* command = app.add_subcommand("info", "Tell what a drawing's file says about itself, compressed or not");
  command->add_option("DRAWING", arguments->drawings, "Objects of the project (tb12), or paths of object files")
      ->required();
  command->add_flag("--check", arguments->check, "Read the content too, and check it");
  command->callback(
      [&selected, arguments] { selected = [arguments](Context& context) { return info(context, *arguments); }; });
}

}  // namespace workstation::program
