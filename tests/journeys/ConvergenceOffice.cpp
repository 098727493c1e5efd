#include "tests/journeys/ConvergenceOffice.h"

#include <sqlite3.h>

#include <algorithm>
#include <sstream>

#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/objects/ObjectFile.h"

namespace zephor_test {

namespace fs = std::filesystem;

namespace {

bool isBackup(const fs::path& name) {
  return std::find(name.begin(), name.end(), "Backup") != name.end();
}

bool isOwnFile(const fs::path& name) {
  static const std::set<std::string> kNames{"project1.dat.xml", "notuploadedfiles.xml", "wgo_syncfilter.xml"};
  static const std::set<std::string> kEnds{".part", ".tmp", ".lck"};
  const std::string file = lowerCase(name.string());
  return isBackup(name) || file == "net/data.cfg" || kNames.contains(file) ||
         kEnds.contains(lowerCase(name.extension().string())) || file.starts_with("quorvelprojectdb");
}

using Rows = std::vector<std::vector<std::string>>;

Rows query(const fs::path& file, const char* text) {
  const auto take = [](void* rows, int count, char** values, char**) {
    static_cast<Rows*>(rows)->emplace_back(values, values + count);
    return 0;
  };
  sqlite3* database = nullptr;
  Rows rows;
  sqlite3_open(file.c_str(), &database);
  sqlite3_busy_timeout(database, 10'000);
  const int code = sqlite3_exec(database, text, take, &rows, nullptr);
  sqlite3_close(database);
  if (code != SQLITE_OK) throw Fault("the store can't be read: " + std::to_string(code));
  return rows;
}

}  // namespace

std::string lowerCase(std::string name) {
  for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return name;
}

bool isDrawing(const std::string& file) {
  return file.find(".zdw") != std::string::npos || file.find(".zpl") != std::string::npos;
}

std::string asLine(const std::string& file, const std::string& text) {
  return isDrawing(file) ? "999\r\n" + text + "\r\n" : text + "\n";
}

std::set<std::string> linesOf(const std::string& file, const std::string& content) {
  if (!content.empty() && content.back() != '\n') throw Fault(file + " ends within a line");
  std::set<std::string> lines;
  std::istringstream stream(content);
  for (std::string line; std::getline(stream, line);) {
    if (isDrawing(file)) line.pop_back();
    if (line != "999") lines.insert(line);
  }
  return lines;
}

ConvergenceOffice::ConvergenceOffice(std::vector<std::string> users) : users_(std::move(users)) {
  found(users_);
  for (const auto& user : users_) projects_[user] = project(user);
  fs::create_directory(path("start"));
  for (const auto& entry : fs::directory_iterator(path(""))) {
    if (entry.path() == path("start")) continue;
    fs::copy(entry.path(), path("start") / entry.path().filename(), fs::copy_options::recursive);
  }
}

void ConvergenceOffice::reset() const {
  for (const auto& entry : fs::directory_iterator(path(""))) {
    if (entry.path() != path("start")) fs::remove_all(entry.path());
  }
  fs::copy(path("start"), path(""), fs::copy_options::recursive);
}

std::string ConvergenceOffice::read(const fs::path& path, bool drawing) {
  std::string bytes = contentOf(path);
  if (!drawing) return bytes;
  const auto [known, isNew] = unwrapped_.try_emplace(bytes);
  if (!isNew) return known->second;
  std::wstring error;
  const fs::path target = this->path("unwrapped");
  if (workstation::verifyObject(platform::libraryPath(path), error) != 0 ||
      workstation::exportContent(platform::libraryPath(path), platform::libraryPath(target), error) != 0) {
    throw Fault("a damaged drawing: " + platform::toUtf8(error));
  }
  return known->second = contentOf(target);
}

StoreView ConvergenceOffice::storeView() {
  StoreView view;
  for (const auto& row : query(store() / "store.db", "SELECT name, sha256 FROM files WHERE deleted = 0")) {
    std::string file = lowerCase(row[0]);
    std::replace(file.begin(), file.end(), '\\', '/');
    view.contents[file] = read(store() / "bodies" / row[1].substr(0, 2) / row[1], isDrawing(file));
  }
  for (const auto& row : query(store() / "store.db",
                               "SELECT printf(CASE type WHEN 0 THEN 'tb%06d.zdw' ELSE 'pb%06d.zpl' END, number), name "
                               "FROM object_locks JOIN users ON uuid = user")) {
    view.holders[row[0]] = row[1];
  }
  return view;
}

Contents ConvergenceOffice::contentsOf(const std::string& user) {
  Contents contents;
  for (const auto& entry : fs::recursive_directory_iterator(projects_[user])) {
    const fs::path name = entry.path().lexically_relative(projects_[user]);
    if (entry.is_directory() || isOwnFile(name)) continue;
    const std::string file = lowerCase(name.string());
    if (!contents.emplace(file, read(entry.path(), isDrawing(file))).second) throw Fault("two files " + file);
  }
  return contents;
}

bool ConvergenceOffice::hasBackup(const std::string& user, const std::string& line) {
  const fs::recursive_directory_iterator entries(projects_[user]);
  return std::any_of(begin(entries), end(entries), [&](const fs::directory_entry& entry) {
    const fs::path name = entry.path().lexically_relative(projects_[user]);
    if (entry.is_directory() || !isBackup(name)) return false;
    return read(entry.path(), isDrawing(name.filename())).find(line) != std::string::npos;
  });
}

fs::path ConvergenceOffice::placeOf(const std::string& user, const std::string& file) const {
  const fs::path& root = projects_.at(user);
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (lowerCase(entry.path().lexically_relative(root)) == lowerCase(file)) return entry.path();
  }
  return root / file;
}

}  // namespace zephor_test
