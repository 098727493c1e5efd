#include "workstation/desktop/window/StatusLines.h"

#include <array>
#include <nlohmann/json.hpp>
#include <utility>

namespace workstation {
namespace {

using nlohmann::json;

constexpr std::size_t kLongestLine = std::size_t{1} << 20U;
constexpr std::size_t kLongestQuote = 120;

constexpr std::array<std::pair<std::string_view, RowState>, 10> kStates{{
    {"in step", RowState::InStep},
    {"changed here", RowState::ChangedHere},
    {"newer in the store", RowState::NewerInStore},
    {"older in the store", RowState::OlderInStore},
    {"changed on both sides", RowState::ChangedOnBoth},
    {"only here", RowState::OnlyHere},
    {"only in the store", RowState::OnlyInStore},
    {"removed from the store", RowState::RemovedFromStore},
    {"removed here", RowState::RemovedHere},
    {"damaged here", RowState::Damaged},
}};

RowState stateOf(std::string_view text, bool isUnsent) {
  for (const auto& [name, state] : kStates) {
    if (name != text) continue;
    const bool isWaiting = isUnsent && (state == RowState::ChangedHere || state == RowState::OnlyHere);
    return isWaiting ? RowState::Unsent : state;
  }
  return RowState::Unknown;
}

bool take(const json& object, const char* key, std::string& out) {
  const auto member = object.find(key);
  if (member == object.end() || !member->is_string()) return false;
  out = member->get<std::string>();
  return true;
}

bool take(const json& object, const char* key, std::optional<std::int64_t>& out) {
  const auto member = object.find(key);
  if (member == object.end() || !(member->is_null() || member->is_number_integer())) return false;
  if (!member->is_null()) out = member->get<std::int64_t>();
  return true;
}

bool take(const json& object, const char* key, bool& out) {
  const auto member = object.find(key);
  if (member == object.end() || !member->is_boolean()) return false;
  out = member->get<bool>();
  return true;
}

bool takeRow(const json& object, StatusRow& row) {
  const bool isWhole = take(object, "item", row.item) && !row.item.empty() && take(object, "name", row.name) &&
                       take(object, "here", row.here) && take(object, "store", row.store) &&
                       take(object, "locked", row.holder) && take(object, "state", row.stateText) &&
                       take(object, "reason", row.reason) && take(object, "yours", row.isYours) &&
                       take(object, "unsent", row.isUnsent);
  row.state = stateOf(row.stateText, row.isUnsent);
  return isWhole;
}

}  // namespace

void StatusLines::add(std::string_view bytes) {
  for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
    rest_ += bytes.substr(0, end);
    takeLine(rest_);
    rest_.clear();
    bytes.remove_prefix(end + 1);
  }
  // What is longer is no line of a status, and is not gathered without limit.
  if (rest_.size() <= kLongestLine) rest_ += bytes;
}

void StatusLines::finish() {
  if (!std::exchange(rest_, {}).empty()) {
    ++lineNumber_;
    refuse("", "the end of the line; the output was cut off");
  }
}

void StatusLines::takeLine(std::string_view line) {
  ++lineNumber_;
  const json object = line.size() > kLongestLine ? json() : json::parse(line, nullptr, false);
  if (!object.is_object()) return refuse(line, "a JSON object");
  if (object.contains("uuid")) {
    ShownProject project;
    if (!take(object, "project", project.name) || !take(object, "uuid", project.uuid) || project.uuid.empty() ||
        !take(object, "directory", project.directory) || !take(object, "user", project.user))
      return refuse(line, "a project with name, directory and user");
    project_ = std::move(project);
    return;
  }
  StatusRow row;
  if (!takeRow(object, row)) return refuse(line, "an object of the project with its state");
  rows_.push_back(std::move(row));
}

void StatusLines::refuse(std::string_view line, const char* expected) {
  if (!problem_.empty()) return;
  problem_ = "status, line " + std::to_string(lineNumber_) + ": expected " + expected;
  if (!line.empty()) problem_ += ", not: " + std::string(line.substr(0, kLongestQuote));
}

}  // namespace workstation
