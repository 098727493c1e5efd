// What the program says: results on stdout (text, or one JSON object a line), messages on stderr.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace workstation::program {

/// A named value of a result; the empty one is null in JSON and a dash in text.
using Value = std::variant<std::wstring, std::int64_t, bool, std::monostate>;
using Field = std::pair<const char*, Value>;

class Output {
 public:
  Output(bool json, bool quiet, int verbosity) : json_(json), quiet_(quiet), verbosity_(verbosity) {}

  /// True when a result could not be written, other than to a reader that went away.
  static bool isBroken();

  bool json() const { return json_; }
  bool quiet() const { return quiet_; }
  int verbosity() const { return verbosity_; }

  /// One result: the object in JSON, otherwise the text in one line. A quiet run shows results all the same.
  void result(const std::wstring& text, const std::vector<Field>& fields) const;
  /// A message for the person, left out in a quiet run.
  void message(const std::wstring& text) const;
  /// A message that a quiet run shows too.
  void error(const std::wstring& text) const;
  /// Bytes that are a result by themselves.
  void raw(const std::string& bytes) const;

 private:
  bool json_;
  bool quiet_;
  int verbosity_;
};

/// Rows with a heading, aligned in text, one object a row in JSON, where the keys are the column's keys.
class Table {
 public:
  struct Column {
    const char* key;
    const wchar_t* title;
  };
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}
  void row(std::vector<Value> values) { rows_.push_back(std::move(values)); }
  bool empty() const { return rows_.empty(); }
  void print(const Output& output) const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<Value>> rows_;
};

}  // namespace workstation::program
