#include "workstation/system/SettingsFormat.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "host/System.h"
#include "platform/Text.h"

namespace workstation {
namespace {

using Json = nlohmann::ordered_json;
using platform::fromUtf8;
using platform::toUtf8;

constexpr int kFormat = 1;

/// What is wrong in a text that is well-formed: the keys that lead there, and what was expected.
struct Complaint {
  std::vector<std::string> keys;
  std::wstring expected;
};

std::size_t lineOf(const std::string& text, const std::vector<std::string>& keys) {
  std::size_t position = 0;
  for (const std::string& key : keys) {
    const std::size_t found = text.find(Json(key).dump(), position);
    if (found == std::string::npos) break;
    position = found;
  }
  return 1 +
         static_cast<std::size_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), '\n'));
}

/// Reads members of one object; the first one that is wrong is kept, and every later read leaves its target alone.
class Reader {
 public:
  Reader(const Json& object, std::vector<std::string> keys, std::optional<Complaint>& complaint)
      : object_(object), keys_(std::move(keys)), complaint_(complaint) {}

  void text(const char* key, std::wstring& out) {
    std::string value;
    if (utf8(key, value)) out = fromUtf8(value);
  }
  bool utf8(const char* key, std::string& out) {
    const Json* value = find(key);
    if (value == nullptr) return false;
    if (!value->is_string() || value->get_ref<const std::string&>().find('\0') != std::string::npos) {
      complain(key, L"a text");
      return false;
    }
    out = value->get<std::string>();
    return true;
  }
  void flag(const char* key, bool& out) {
    const Json* value = find(key);
    if (value == nullptr) return;
    if (!value->is_boolean()) return complain(key, L"true or false");
    out = value->get<bool>();
  }
  void number(const char* key, int& out, int low, int high) {
    const Json* value = find(key);
    if (value == nullptr) return;
    const bool isSmall =
        value->is_number_integer() &&
        !(value->is_number_unsigned() && value->get<std::uint64_t>() > static_cast<std::uint64_t>(INT32_MAX));
    if (!isSmall || value->get<std::int64_t>() < low || value->get<std::int64_t>() > high) {
      return complain(key, platform::formatWide(L"a whole number from %d to %d", low, high));
    }
    out = value->get<int>();
  }
  /// Calls `each` with every member of an object below `key`.
  template <typename Each>
  void members(const char* key, Each each) {
    const Json* value = find(key);
    if (value == nullptr) return;
    if (!value->is_object()) return complain(key, L"an object");
    for (const auto& [name, member] : value->items()) {
      std::vector<std::string> keys = keys_;
      keys.emplace_back(key);
      each(name, member, std::move(keys));
    }
  }
  /// A reader of the object below `key`; empty when there is none.
  std::optional<Reader> object(const char* key) {
    const Json* value = find(key);
    if (value == nullptr) return std::nullopt;
    std::vector<std::string> keys = keys_;
    keys.emplace_back(key);
    return of(*value, std::move(keys), complaint_);
  }
  static std::optional<Reader> of(const Json& value, std::vector<std::string> keys,
                                  std::optional<Complaint>& complaint) {
    if (!value.is_object()) {
      if (!complaint) complaint = Complaint{std::move(keys), L"an object"};
      return std::nullopt;
    }
    return Reader(value, std::move(keys), complaint);
  }
  void complain(const char* key, std::wstring expected) {
    if (complaint_) return;
    std::vector<std::string> keys = keys_;
    keys.emplace_back(key);
    complaint_ = Complaint{std::move(keys), std::move(expected)};
  }
  const Json* find(const char* key) const {
    if (complaint_) return nullptr;
    const auto found = object_.find(key);
    return found == object_.end() ? nullptr : &*found;
  }

 private:
  const Json& object_;
  std::vector<std::string> keys_;
  std::optional<Complaint>& complaint_;
};

void readIdentity(Reader& reader, Identity& out) {
  reader.text("uuid", out.user.uuid);
  reader.text("name", out.user.name);
  reader.text("email", out.user.email);
  reader.text("workstationName", out.workstationName);
  reader.text("workstationId", out.workstationId);
}

void readProject(Reader& reader, ProjectReference& out) {
  reader.text("host", out.host);
  reader.text("directory", out.directoryName);
  reader.text("name", out.name);
}

void readServer(Reader& reader, ServerSettings& out) {
  std::wstring kind = L"server";
  reader.text("kind", kind);
  if (kind != L"server" && kind != L"directory") reader.complain("kind", L"\"server\" or \"directory\"");
  out.isDirectory = kind == L"directory";
  reader.text("description", out.description);
  reader.text("host", out.hostName);
  reader.text("protocol", out.protocol);
  const bool isProtocol = out.protocol == L"FTP" || out.protocol == L"FTPS";
  if (!isProtocol && !out.isDirectory) reader.complain("protocol", L"\"FTP\" or \"FTPS\"");
  reader.text("user", out.userName);
  reader.text("password", out.password);
  reader.text("baseDirectory", out.baseDirectory);
  reader.text("certificateFile", out.certificateFile);
  reader.flag("explicitTls", out.explicitTls);
  reader.number("epsvMode", out.epsvMode, 0, 2);
  reader.number("connectLimitMilliseconds", out.connectLimitMilliseconds, 0, INT32_MAX);
  reader.number("readLimitMilliseconds", out.readLimitMilliseconds, 0, INT32_MAX);
}

void readServers(Reader& reader, SettingsValues& out, std::optional<Complaint>& complaint) {
  reader.members("servers", [&](const std::string& name, const Json& value, std::vector<std::string> keys) {
    keys.push_back(name);
    const std::wstring wideName = fromUtf8(name);
    if (wideName.empty() || ZSYST_IsOndrathServer(wideName) || platform::equalsIgnoreCase(wideName, L"localhost")) {
      if (!complaint) complaint = Complaint{std::move(keys), L"a name other than \"\", \"ONDRATH\" and \"localhost\""};
      return;
    }
    ServerSettings server;
    if (auto member = Reader::of(value, std::move(keys), complaint)) readServer(*member, server);
    out.servers.insert_or_assign(wideName, std::move(server));
  });
}

void readRecentProjects(Reader& reader, SettingsValues& out, std::optional<Complaint>& complaint) {
  const Json* list = reader.find("recentProjects");
  if (list == nullptr) return;
  if (!list->is_array()) return reader.complain("recentProjects", L"a list");
  for (const Json& entry : *list) {
    ProjectReference project;
    if (auto member = Reader::of(entry, {"recentProjects"}, complaint)) readProject(*member, project);
    if (project.isSet()) out.recentProjects.push_back(std::move(project));
  }
}

void readAll(Reader& reader, SettingsValues& out, std::optional<Complaint>& complaint) {
  if (reader.find("format") == nullptr) reader.complain("format", L"the number 1");
  int format = kFormat;
  reader.number("format", format, kFormat, kFormat);
  reader.utf8("storeDirectory", out.storeDirectory);
  if (!out.storeDirectory.empty() && out.storeDirectory.front() != '/') {
    reader.complain("storeDirectory", L"an absolute path");
  }
  reader.utf8("language", out.language);
  if (!out.language.empty() && out.language != "en" && out.language != "de") {
    reader.complain("language", L"\"en\", \"de\" or \"\"");
  }
  int codePage = static_cast<int>(out.codePage);
  reader.number("codePage", codePage, 0, 65535);
  if (codePage != 1252 && codePage != 28591 && codePage != 65001) {
    reader.complain("codePage", L"1252, 28591 or 65001");
  }
  out.codePage = static_cast<unsigned>(codePage);
  if (auto identity = reader.object("identity")) readIdentity(*identity, out.identity);
  reader.members("HKCU", [&](const std::string& name, const Json&, std::vector<std::string> keys) {
    if (auto hive = Reader::of(*reader.find("HKCU"), std::move(keys), complaint)) {
      hive->number(name.c_str(), out.numbers[fromUtf8(name)], INT32_MIN, INT32_MAX);
    }
  });
  reader.members("setupPaths", [&](const std::string& name, const Json& value, std::vector<std::string> keys) {
    keys.push_back(name);
    if (value.is_string()) {
      out.setupPaths.insert_or_assign(fromUtf8(name), fromUtf8(value.get_ref<const std::string&>()));
    } else if (!complaint) {
      complaint = Complaint{std::move(keys), L"a text"};
    }
  });
  readServers(reader, out, complaint);
  if (auto project = reader.object("lastProject")) readProject(*project, out.lastProject);
  readRecentProjects(reader, out, complaint);
}

/// The library's message without its own prefix: "parse error at line 3, column 5: ...; expected ...".
std::wstring parserMessage(const std::string& what) {
  const std::size_t end = what.find("] ");
  return fromUtf8(end == std::string::npos ? what : what.substr(end + 2));
}

Json projectJson(const ProjectReference& project) {
  return Json{
      {"host", toUtf8(project.host)}, {"directory", toUtf8(project.directoryName)}, {"name", toUtf8(project.name)}};
}

Json serverJson(const ServerSettings& server, Json before) {
  Json json = before.is_object() ? std::move(before) : Json::object();
  const auto put = [&json](const char* key, const std::wstring& text) {
    if (text.empty()) {
      json.erase(key);
    } else {
      json[key] = toUtf8(text);
    }
  };
  json["kind"] = server.isDirectory ? "directory" : "server";
  put("description", server.description);
  put("host", server.hostName);
  put("protocol", server.protocol);
  put("user", server.userName);
  put("password", server.password);
  put("baseDirectory", server.baseDirectory);
  put("certificateFile", server.certificateFile);
  json["explicitTls"] = server.explicitTls;
  json["epsvMode"] = server.epsvMode;
  json["connectLimitMilliseconds"] = server.connectLimitMilliseconds;
  json["readLimitMilliseconds"] = server.readLimitMilliseconds;
  return json;
}

/// Writes the servers that differ from what the document says; the others stay as they stand in it.
void renderServers(Json& document, const ServerMap& before, const ServerMap& now) {
  if (before == now) return;
  Json& servers = document["servers"];
  if (!servers.is_object()) servers = Json::object();
  Json result = Json::object();
  for (const auto& [name, json] : servers.items()) {
    const auto kept = now.find(fromUtf8(name));
    if (kept == now.end()) continue;
    const auto known = before.find(kept->first);
    const bool isUnchanged = known != before.end() && known->second == kept->second;
    result[name] = isUnchanged ? json : serverJson(kept->second, json);
  }
  for (const auto& [name, server] : now) {
    if (!before.contains(name)) result[toUtf8(name)] = serverJson(server, {});
  }
  servers = std::move(result);
}

}  // namespace

bool parseSettings(const std::string& text, const std::wstring& file, SettingsValues& out, std::wstring& error) {
  Json document;
  try {
    document = Json::parse(text);
  } catch (const Json::parse_error& failure) {
    error = platform::formatWide(L"%s: %s", file, parserMessage(failure.what()));
    return false;
  }
  SettingsValues values;
  std::optional<Complaint> complaint;
  if (auto reader = Reader::of(document, {}, complaint)) readAll(*reader, values, complaint);
  if (complaint) {
    std::wstring place;
    for (const std::string& key : complaint->keys) place += (place.empty() ? L"\"" : L"/\"") + fromUtf8(key) + L"\"";
    error = platform::formatWide(L"%s: line %d: %s%sexpected %s", file, static_cast<int>(lineOf(text, complaint->keys)),
                                 place, place.empty() ? L"" : L": ", complaint->expected);
    return false;
  }
  out = std::move(values);
  return true;
}

std::string renderSettings(const std::string& before, const SettingsValues& values) {
  Json document = Json::object();
  SettingsValues previous;
  if (!before.empty()) {
    Json parsed = Json::parse(before, nullptr, false);
    if (parsed.is_object()) document = std::move(parsed);
    std::wstring ignored;
    parseSettings(before, L"", previous, ignored);
  }
  document["format"] = kFormat;
  document["storeDirectory"] = values.storeDirectory;
  document["language"] = values.language;
  document["codePage"] = values.codePage;
  Json& identity = document["identity"];
  if (!identity.is_object()) identity = Json::object();
  identity["uuid"] = toUtf8(values.identity.user.uuid);
  identity["name"] = toUtf8(values.identity.user.name);
  identity["email"] = toUtf8(values.identity.user.email);
  identity["workstationName"] = toUtf8(values.identity.workstationName);
  identity["workstationId"] = toUtf8(values.identity.workstationId);
  Json numbers = Json::object();
  for (const auto& [key, value] : values.numbers) numbers[toUtf8(key)] = value;
  document["HKCU"] = std::move(numbers);
  renderServers(document, previous.servers, values.servers);
  document["lastProject"] = projectJson(values.lastProject);
  Json recent = Json::array();
  for (const ProjectReference& project : values.recentProjects) recent.push_back(projectJson(project));
  document["recentProjects"] = std::move(recent);
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace workstation
