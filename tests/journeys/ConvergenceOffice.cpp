#include "tests/journeys/ConvergenceOffice.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectFile.h"

namespace zephor_test {

namespace fs = std::filesystem;

namespace {

bool isOwnFile(const fs::path& name) {
  const std::string first = lowerCase(name.begin()->string());
  const std::string end = lowerCase(name.extension().string());
  return std::find(name.begin(), name.end(), "Backup") != name.end() || first.starts_with("quorvelprojectdb") ||
         first.starts_with("notuploadedfiles") || first == "wgo_syncfilter.xml" || first == "project1.dat.xml" ||
         end == ".part" || end == ".tmp" || end == ".lck";
}

/// The rows of a query, each as its texts.
std::vector<std::vector<std::string>> rows(const fs::path& file, const char* query) {
  sqlite3* database = nullptr;
  std::vector<std::vector<std::string>> result;
  sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  sqlite3_busy_timeout(database, 10'000);
  const auto take = [](void* to, int count, char** texts, char**) {
    auto& row = static_cast<decltype(result)*>(to)->emplace_back();
    for (int i = 0; i < count; ++i) row.emplace_back(texts[i] == nullptr ? "" : texts[i]);
    return 0;
  };
  const int code = sqlite3_exec(database, query, take, &result, nullptr);
  sqlite3_close(database);
  if (code != SQLITE_OK) throw Fault("the store's database can't be read: " + std::to_string(code));
  return result;
}

}  // namespace

bool isDrawing(const std::string& name) {
  return name.ends_with(".zdw") || name.ends_with(".zpl");
}

Lines linesOf(const std::string& name, const std::string& content) {
  if (!content.empty() && content.back() != '\n') throw Fault(name + " ends within a line");
  Lines lines;
  std::istringstream stream(content);
  for (std::string line; std::getline(stream, line);) {
    if (isDrawing(name) && line == "999\r") continue;
    if (isDrawing(name)) line.pop_back();
    lines.insert(line);
  }
  return lines;
}

std::string withLine(const std::string& name, const std::string& content, const std::string& line) {
  return content + (isDrawing(name) ? "999\r\n" + line + "\r\n" : line + "\n");
}

std::string lowerCase(std::string name) {
  for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return name;
}

ConvergenceOffice::ConvergenceOffice(std::vector<std::string> users) : users_(std::move(users)) {
  found(users_);
  for (const auto& user : users_) projects_[user] = project(user);
  fs::create_directory(path("start"));
  for (const auto& name : users_) fs::copy(path(name), path("start") / name, fs::copy_options::recursive);
  fs::copy(store(), path("start") / "store", fs::copy_options::recursive);
}

void ConvergenceOffice::reset() {
  for (const auto& entry : fs::directory_iterator(path(""))) {
    if (entry.path().filename() != "start") fs::remove_all(entry.path());
  }
  fs::copy(path("start"), path(""), fs::copy_options::recursive);
  unwrapped_.clear();
}

std::string ConvergenceOffice::read(const fs::path& file, bool drawing) {
  std::string bytes = contentOf(file);
  if (!drawing) return bytes;
  const auto known = unwrapped_.find(bytes);
  if (known != unwrapped_.end()) return known->second;
  std::wstring error;
  const std::wstring name = platform::libraryPath(file.string());
  if (workstation::verifyObject(name, error) != 0 ||
      workstation::exportContent(name, platform::libraryPath(path("unwrapped").string()), error) != 0) {
    throw Fault("a damaged drawing: " + platform::toUtf8(error));
  }
  return unwrapped_[bytes] = contentOf(path("unwrapped"));
}

StoreView ConvergenceOffice::storeView() {
  StoreView view;
  const fs::path database = store() / "store.db";
  for (const auto& row : rows(database, "SELECT name, sha256 FROM files WHERE deleted = 0")) {
    std::string name = lowerCase(row[0]);
    std::replace(name.begin(), name.end(), '\\', '/');
    view.contents[name] = read(store() / "bodies" / row[1].substr(0, 2) / row[1], isDrawing(name));
  }
  for (const auto& row : rows(database,
                              "SELECT format(CASE type WHEN 0 THEN 'tb%06d.zdw' ELSE 'pb%06d.zpl' END, l.number), "
                              "u.name FROM object_locks l JOIN users u ON u.uuid = l.user")) {
    view.holders[row[0]] = row[1];
  }
  return view;
}

Contents ConvergenceOffice::contentsOf(const std::string& user) {
  Contents contents;
  for (const auto& entry : fs::recursive_directory_iterator(projects_[user])) {
    const fs::path name = entry.path().lexically_relative(projects_[user]);
    if (entry.is_directory() || isOwnFile(name)) continue;
    const std::string key = lowerCase(name.string());
    if (!contents.emplace(key, read(entry.path(), isDrawing(key))).second) {
      throw Fault(user + " has two files " + key);
    }
  }
  return contents;
}

fs::path ConvergenceOffice::placeOf(const std::string& user, const std::string& name) const {
  const fs::path& root = projects_.at(user);
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (lowerCase(entry.path().lexically_relative(root).string()) == lowerCase(name)) return entry.path();
  }
  return root / name;
}

bool ConvergenceOffice::hasBackup(const std::string& user, const std::string& line) {
  for (const auto& entry : fs::recursive_directory_iterator(projects_[user])) {
    const fs::path name = entry.path().lexically_relative(projects_[user]);
    if (entry.is_directory() || std::find(name.begin(), name.end(), "Backup") == name.end()) continue;
    const std::string file = name.filename().string();
    const bool drawing = file.find(".zdw") != std::string::npos || file.find(".zpl") != std::string::npos;
    if (read(entry.path(), drawing).find(line) != std::string::npos) return true;
  }
  return false;
}

}  // namespace zephor_test
