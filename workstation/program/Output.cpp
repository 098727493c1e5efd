#include "workstation/program/Output.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/Text.h"

namespace workstation::program {

namespace {

nlohmann::ordered_json jsonOf(const Value& value) {
  if (const auto* text = std::get_if<std::wstring>(&value)) return platform::toUtf8(*text);
  if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
  if (const auto* truth = std::get_if<bool>(&value)) return *truth;
  return nullptr;
}

std::wstring textOf(const Value& value) {
  if (const auto* text = std::get_if<std::wstring>(&value)) return *text;
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_wstring(*number);
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? L"yes" : L"no";
  return L"-";
}

std::atomic<bool>& broken() {
  static std::atomic<bool> state{false};
  return state;
}

void flush(std::FILE* stream) {
  const bool failed = std::fflush(stream) != 0 || std::ferror(stream) != 0;
  if (failed && stream == stdout && errno != EPIPE) broken() = true;
}

void writeLine(std::FILE* stream, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stream);
  if (text.empty() || text.back() != '\n') std::fputc('\n', stream);
  flush(stream);
}

/// Control characters in a name must not reach a terminal as commands, nor a line feed a table as a row of its own.
std::wstring printable(std::wstring text, bool oneLine) {
  for (wchar_t& c : text) {
    const bool isLayout = !oneLine && (c == L'\n' || c == L'\t');
    if ((c < L' ' && !isLayout) || (c >= 0x7F && c < 0xA0)) c = L'?';
  }
  return text;
}

}  // namespace

bool Output::isBroken() {
  return broken();
}

void Output::result(const std::wstring& text, const std::vector<Field>& fields) const {
  if (!json_) {
    writeLine(stdout, platform::toUtf8(printable(text, true)));
    return;
  }
  nlohmann::ordered_json object;
  for (const auto& [key, value] : fields) object[key] = jsonOf(value);
  writeLine(stdout, object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void Output::message(const std::wstring& text) const {
  if (!quiet_) error(text);
}

void Output::error(const std::wstring& text) const {
  writeLine(stderr, platform::toUtf8(printable(text, false)));
}

void Output::raw(const std::string& bytes) const {
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  flush(stdout);
}

void Table::print(const Output& output) const {
  if (output.json()) {
    for (const auto& row : rows_) {
      std::vector<Field> fields;
      for (std::size_t i = 0; i < columns_.size(); ++i) fields.emplace_back(columns_[i].key, row[i]);
      output.result({}, fields);
    }
    return;
  }
  if (rows_.empty()) return;
  std::vector<std::size_t> width;
  width.reserve(columns_.size());
  for (const auto& column : columns_) width.push_back(std::wstring(column.title).size());
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.size(); ++i) width[i] = std::max(width[i], textOf(row[i]).size());
  }
  const auto line = [&](auto&& cell) {
    std::wstring text;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      std::wstring value = cell(i);
      if (i + 1 < columns_.size()) value.resize(std::max(value.size(), width[i] + 2), L' ');
      text += value;
    }
    output.result(text, {});
  };
  line([&](std::size_t i) { return std::wstring(columns_[i].title); });
  for (const auto& row : rows_) line([&](std::size_t i) { return textOf(row[i]); });
}

}  // namespace workstation::program
