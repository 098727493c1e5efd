// The list of a project's users: "user.cfg".

#include <pugixml.hpp>
#include <set>

#include "host/Trace.h"
#include "host/Users.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/projects/ProjectNames.h"
#include "workstation/projects/XmlText.h"

using platform::fromUtf8;
using platform::toUtf8;
using workstation::parseNumber;
using workstation::textOf;

namespace {

constexpr int kVersion = 1;

std::wstring userFilePath(const std::wstring& directory) {
  return platform::joinPath(directory, workstation::kUserFile);
}

/// What is wrong in a well-formed list; the text is empty when nothing is.
struct Fault {
  std::ptrdiff_t offset = 0;
  std::wstring expected;
};

template <std::size_t Size>
void readText(const pugi::xml_node& node, const char* name, wchar_t (&target)[Size], Fault& fault) {
  const std::wstring text = fromUtf8(node.attribute(name).value());
  if (text.size() >= Size) {
    fault = {node.offset_debug(),
             platform::formatWide(L"expected at most %d characters in %s", static_cast<int>(Size) - 1, fromUtf8(name))};
    return;
  }
  workstation::copyText(target, text);
}

QuorvelUser readUser(const pugi::xml_node& node, Fault& fault) {
  QuorvelUser user;
  const auto number = parseNumber(node.attribute("number").value(), 0, INT32_MAX);
  const auto flags = parseNumber(node.attribute("flags").as_string("0"), 0, UINT32_MAX);
  if (!number || !flags) {
    fault = {node.offset_debug(), L"expected a user number from 0 up and a flag word"};
    return user;
  }
  user.number = static_cast<std::int32_t>(*number);
  user.flags = static_cast<std::uint32_t>(*flags);
  readText(node, "login", user.loginName, fault);
  readText(node, "host", user.hostName, fault);
  readText(node, "first", user.firstName, fault);
  readText(node, "last", user.lastName, fault);
  readText(node, "email", user.email, fault);
  readText(node, "uuid", user.uuid, fault);
  return user;
}

Fault readUsers(const pugi::xml_document& document, std::vector<QuorvelUser>& out) {
  const pugi::xml_node root = document.child("Users");
  if (!root) return {document.document_element().offset_debug(), L"expected the element Users"};
  if (!parseNumber(root.attribute("version").value(), kVersion, kVersion)) {
    return {root.offset_debug(), L"expected version 1 of the element Users"};
  }
  Fault fault;
  std::set<std::int32_t> numbers;
  for (const pugi::xml_node& node : root.children("User")) {
    const QuorvelUser user = readUser(node, fault);
    if (!fault.expected.empty()) break;
    if (numbers.insert(user.number).second) out.push_back(user);
  }
  return fault;
}

}  // namespace

int lzReadAllUsers_fromPath_toVector(const std::wstring& directory, std::vector<QuorvelUser>& out) {
  out.clear();
  const std::wstring file = userFilePath(directory);
  pugi::xml_document document;
  std::string text;
  std::wstring error;
  const DWORD code = workstation::readXml(file, document, text, error);
  if (code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) return static_cast<int>(ERROR_FILE_NOT_FOUND);
  std::vector<QuorvelUser> users;
  if (code == 0) {
    const Fault fault = readUsers(document, users);
    if (!fault.expected.empty()) error = workstation::placeError(file, text, fault.offset, fault.expected);
  }
  if (!error.empty()) {
    lfperrC(L"%s\n", error);
    return static_cast<int>(ERROR_INVALID_DATA);
  }
  out = std::move(users);
  return 0;
}

int lzWriteAllUsers_fromVector_to_Path(const std::vector<QuorvelUser>& users, const std::wstring& directory) {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "UTF-8";
  pugi::xml_node root = document.append_child("Users");
  root.append_attribute("version") = kVersion;
  std::set<std::int32_t> numbers;
  for (const QuorvelUser& user : users) {
    if (user.number < 0) return static_cast<int>(ERROR_INVALID_DATA);
    if (!numbers.insert(user.number).second) continue;
    pugi::xml_node node = root.append_child("User");
    node.append_attribute("number") = user.number;
    node.append_attribute("flags") = user.flags;
    const auto append = [&node](const char* name, const std::wstring& text) {
      node.append_attribute(name) = toUtf8(text).c_str();
    };
    append("login", textOf(user.loginName));
    append("host", textOf(user.hostName));
    append("first", textOf(user.firstName));
    append("last", textOf(user.lastName));
    append("email", textOf(user.email));
    append("uuid", textOf(user.uuid));
  }
  std::wstring error;
  const DWORD code = workstation::writeXml(userFilePath(directory), document, error);
  if (code != 0) lfperrC(L"%s\n", error);
  return static_cast<int>(code);
}
