#include "workstation/projects/DescriptorXml.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <sstream>

#include "host/Guid.h"
#include "host/Project.h"
#include "host/System.h"
#include "host/Users.h"
#include "platform/Text.h"
#include "workstation/projects/ProjectNames.h"
#include "workstation/projects/XmlText.h"

using platform::fromUtf8;
using platform::toUtf8;
using Quorvel::Cad::Service::ZP_GUIDValueProvider;

namespace workstation {
namespace {

constexpr const char* kRoot = "Project";
constexpr int kVersion = 1;
constexpr std::size_t kLongestHost = 16;
constexpr std::size_t kMostAdmins = 1024;

/// A known element that holds a number.
struct NumberElement {
  const char* name;
  std::int64_t low;
  std::int64_t high;
};
constexpr std::int64_t kLow = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kHigh = std::numeric_limits<std::int32_t>::max();
constexpr NumberElement kNumbers[] = {
    {"Owner", kLow, kHigh},   {"Access", kLow, kHigh},    {"WorkgroupID", kLow, kHigh}, {"WorkgroupManager", 0, 1},
    {"Format", kLow, kHigh},  {"MainRelease", 0, 255},    {"Number", kLow, kHigh},      {"CreationTime", kLow, kHigh},
    {"Country", kLow, kHigh}, {"ShareKind", kLow, kHigh}, {"Compressed", 0, 1},         {"Link", 0, 1},
};

std::vector<std::string> words(const char* text) {
  std::istringstream stream(text);
  std::vector<std::string> result;
  for (std::string word; stream >> word;) result.push_back(std::move(word));
  return result;
}

/// One container of the member set: eight hexadecimal digits.
std::optional<std::uint32_t> parseContainer(const std::string& word) {
  std::uint32_t value = 0;
  const char* const end = word.data() + word.size();
  const auto [rest, problem] = std::from_chars(word.data(), end, value, 16);
  if (word.size() != 8 || problem != std::errc() || rest != end) return std::nullopt;
  return value;
}

DescriptorFault faultAt(const pugi::xml_node& node, std::wstring expected) {
  return DescriptorFault{node.offset_debug(), std::move(expected)};
}

DescriptorFault findListFault(const pugi::xml_node& root) {
  const pugi::xml_node admins = root.child("AdditionalAdmins");
  const auto numbers = words(admins.text().get());
  if (numbers.size() > kMostAdmins) return faultAt(admins, L"expected at most 1024 user numbers in AdditionalAdmins");
  for (const std::string& word : numbers) {
    if (!parseNumber(word.c_str(), 0, kHigh)) return faultAt(admins, L"expected user numbers in AdditionalAdmins");
  }
  const pugi::xml_node members = root.child("Members");
  const auto containers = words(members.text().get());
  if (containers.size() > static_cast<std::size_t>(lzuGetCountOfUserContainers())) {
    return faultAt(members, L"expected fewer users in Members");
  }
  for (const std::string& word : containers) {
    if (!parseContainer(word)) return faultAt(members, L"expected groups of eight hexadecimal digits in Members");
  }
  return {};
}

DescriptorFault findNameFault(const pugi::xml_node& root) {
  const pugi::xml_node host = root.child("Host");
  if (fromUtf8(host.text().get()).size() > kLongestHost) {
    return faultAt(host, L"expected at most 16 characters in Host");
  }
  const pugi::xml_node directory = root.child("DirectoryName");
  const std::wstring directoryName = fromUtf8(directory.text().get());
  if (!directoryName.empty() && !isSafeDirectoryName(directoryName)) {
    return faultAt(directory, L"expected the name of one directory in DirectoryName");
  }
  const pugi::xml_node uuid = root.child("UUID");
  const std::wstring uuidText = fromUtf8(uuid.text().get());
  if (!uuidText.empty() && !isSafeDirectoryName(uuidText)) {
    return faultAt(uuid, L"expected the UUID of a project in UUID");
  }
  if (ZSYST_IsOndrathServer(fromUtf8(host.text().get())) && uuidText.empty()) {
    return faultAt(root, L"expected the UUID of a cloud project in UUID");
  }
  const pugi::xml_node guid = root.child("ProjectGuid");
  GUID scanned{};
  if (guid && !ZP_GUIDValueProvider::scanGUID(fromUtf8(guid.text().get()), scanned)) {
    return faultAt(guid, L"expected a GUID in ProjectGuid");
  }
  return {};
}

pugi::xml_node rootOf(pugi::xml_document& document) {
  pugi::xml_node root = document.child(kRoot);
  if (root) return root;
  if (!document.first_child()) {
    pugi::xml_node declaration = document.append_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
  }
  root = document.append_child(kRoot);
  root.append_attribute("version") = kVersion;
  return root;
}

void setText(pugi::xml_document& document, const char* name, const std::wstring& text) {
  pugi::xml_node root = rootOf(document);
  pugi::xml_node element = root.child(name);
  if (!element) element = root.append_child(name);
  element.text().set(toUtf8(text).c_str());
}

void setNumber(pugi::xml_document& document, const char* name, std::int64_t value) {
  setText(document, name, std::to_wstring(value));
}

std::wstring getText(const pugi::xml_document& document, const char* name) {
  return fromUtf8(document.child(kRoot).child(name).text().get());
}

std::int32_t getNumber(const pugi::xml_document& document, const char* name) {
  const char* const text = document.child(kRoot).child(name).text().get();
  return static_cast<std::int32_t>(parseNumber(text, kLow, kHigh).value_or(0));
}

void setLists(pugi::xml_document& document, const PRJ& prj) {
  std::wstring admins;
  for (const std::int32_t number : prj.additionalAdmins) {
    admins += (admins.empty() ? L"" : L" ") + std::to_wstring(number);
  }
  setText(document, "AdditionalAdmins", admins);
  std::wstring members;
  for (const std::uint32_t container : prj.memberSet) {
    members += platform::formatWide(members.empty() ? L"%08x" : L" %08x", container);
  }
  setText(document, "Members", members);
}

void setTeam(pugi::xml_document& document, const PRJ& prj) {
  pugi::xml_node root = rootOf(document);
  if (!prj.IsOndrathProject()) {
    root.remove_child("Team");
    return;
  }
  pugi::xml_node team = root.child("Team");
  if (!team) team = root.append_child("Team");
  for (const auto& [name, value] :
       {std::pair{"name", prj.GetOndrathTeamName()}, std::pair{"uuid", prj.GetOndrathTeamUuid()}}) {
    pugi::xml_attribute attribute = team.attribute(name);
    if (!attribute) attribute = team.append_attribute(name);
    attribute.set_value(toUtf8(value).c_str());
  }
}

}  // namespace

DescriptorFault findDescriptorFault(const pugi::xml_document& document) {
  const pugi::xml_node root = document.child(kRoot);
  if (!root) return faultAt(document.document_element(), L"expected the element Project");
  if (!parseNumber(root.attribute("version").value(), kVersion, kVersion)) {
    return faultAt(root, L"expected version 1 of the element Project");
  }
  for (const NumberElement& number : kNumbers) {
    const pugi::xml_node element = root.child(number.name);
    if (!element || parseNumber(element.text().get(), number.low, number.high)) continue;
    return faultAt(element, platform::formatWide(L"expected a whole number from %lld to %lld in %s", number.low,
                                                 number.high, fromUtf8(number.name)));
  }
  if (DescriptorFault fault = findNameFault(root)) return fault;
  return findListFault(root);
}

}  // namespace workstation

using workstation::getNumber;
using workstation::getText;
using workstation::setNumber;
using workstation::setText;

NetManager::projectInfo::projectInfo() : document_(std::make_unique<Document>()) {}

NetManager::projectInfo::~projectInfo() = default;

NetManager::projectInfo::projectInfo(const projectInfo& other) : projectInfo() {
  document_->xml.reset(other.document_->xml);
}

NetManager::projectInfo& NetManager::projectInfo::operator=(const projectInfo& other) {
  if (this != &other) document_->xml.reset(other.document_->xml);
  return *this;
}

std::wstring NetManager::projectInfo::name() const {
  return getText(document_->xml, "Name");
}

std::wstring NetManager::projectInfo::host() const {
  return getText(document_->xml, "Host");
}

std::wstring NetManager::projectInfo::uuid() const {
  return getText(document_->xml, "UUID");
}

std::int32_t NetManager::projectInfo::owner() const {
  return getNumber(document_->xml, "Owner");
}

void NetManager::projectInfo::modifyName(const std::wstring& name) {
  setText(document_->xml, "Name", name);
}

void NetManager::projectInfo::modifyHost(const std::wstring& host) {
  setText(document_->xml, "Host", host);
}

void NetManager::projectInfo::modifyUUID(const std::wstring& uuid) {
  setText(document_->xml, "UUID", uuid);
}

void NetManager::projectInfo::modifyOwner(std::int32_t owner) {
  setNumber(document_->xml, "Owner", owner);
}

void NetManager::projectInfo::modifyAccess(std::int32_t access) {
  setNumber(document_->xml, "Access", access);
}

void NetManager::projectInfo::modifyWorkgroupID(std::int32_t id) {
  setNumber(document_->xml, "WorkgroupID", id);
}

void NetManager::projectInfo::modifyWorkgroupManager(bool manager) {
  setNumber(document_->xml, "WorkgroupManager", manager ? 1 : 0);
}

void NetManager::projectInfo::fromDescriptor(const PRJ& prj) {
  pugi::xml_document& xml = document_->xml;
  const bool isCloud = prj.IsOndrathProject();
  const std::wstring guid = ZP_GUIDValueProvider::printGUID(prj.projectGuid);
  setText(xml, "Name", prj.GetProjectName());
  setText(xml, "Host", workstation::textOf(prj.host));
  setText(xml, "UUID", isCloud ? prj.GetOndrathProjectUuid() : guid);
  setText(xml, "DirectoryName", workstation::textOf(prj.directoryName));
  setText(xml, "ProjectGuid", guid);
  setNumber(xml, "Format", prj.formatNumber);
  setNumber(xml, "MainRelease", prj.mainRelease);
  setNumber(xml, "Number", prj.projectNumber);
  setNumber(xml, "CreationTime", prj.creationTime);
  setNumber(xml, "Country", prj.countryNumber);
  setNumber(xml, "Owner", prj.owner);
  setNumber(xml, "ShareKind", prj.shareKind);
  setNumber(xml, "Compressed", prj.compressed ? 1 : 0);
  setNumber(xml, "Link", prj.link ? 1 : 0);
  workstation::setLists(xml, prj);
  workstation::setTeam(xml, prj);
}

void NetManager::projectInfo::toDescriptor(PRJ& prj) const {
  const pugi::xml_document& xml = document_->xml;
  const pugi::xml_node root = xml.child(workstation::kRoot);
  prj.clear();
  const bool isCloud = ZSYST_IsOndrathServer(host()) && !uuid().empty();
  workstation::copyText(prj.host, host());
  workstation::copyText(prj.directoryName, isCloud ? uuid() : getText(xml, "DirectoryName"));
  prj.shownName = name();
  // Outside the cloud the UUID is the project's own GUID, which a copy gets anew.
  if (isCloud || !ZP_GUIDValueProvider::scanGUID(uuid(), prj.projectGuid)) {
    ZP_GUIDValueProvider::scanGUID(getText(xml, "ProjectGuid"), prj.projectGuid);
  }
  prj.formatNumber = getNumber(xml, "Format");
  prj.mainRelease = static_cast<std::uint8_t>(getNumber(xml, "MainRelease"));
  prj.projectNumber = getNumber(xml, "Number");
  prj.creationTime = getNumber(xml, "CreationTime");
  prj.countryNumber = getNumber(xml, "Country");
  prj.owner = owner();
  prj.shareKind = getNumber(xml, "ShareKind");
  prj.compressed = getNumber(xml, "Compressed") != 0;
  prj.link = getNumber(xml, "Link") != 0;
  for (const std::string& word : workstation::words(root.child("AdditionalAdmins").text().get())) {
    if (const auto number = workstation::parseNumber(word.c_str(), 0, workstation::kHigh)) {
      prj.additionalAdmins.push_back(static_cast<std::int32_t>(*number));
    }
  }
  for (const std::string& word : workstation::words(root.child("Members").text().get())) {
    prj.memberSet.push_back(workstation::parseContainer(word).value_or(0));
  }
  // A set is either empty or whole, so that every user's bit can be set.
  if (!prj.memberSet.empty()) prj.memberSet.resize(static_cast<std::size_t>(lzuGetCountOfUserContainers()));
  if (!isCloud) return;
  const pugi::xml_node team = root.child("Team");
  prj.SetOndrathProject(
      OndrathPrj(fromUtf8(team.attribute("name").value()), fromUtf8(team.attribute("uuid").value()), name(), uuid()));
}
