// Seeded journeys of several workstations through what people do to a project, with programs killed at any moment:
// nothing acknowledged is lost, nothing refused disappears, and at the end all caches equal the store.
// ZEPHOR_JOURNEY_SEEDS and ZEPHOR_JOURNEY_FIRST_SEED choose other journeys.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <thread>

#include "tests/journeys/ConvergenceOffice.h"

namespace zephor_test {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;
using Lines = std::set<std::string>;

const Words kItems{"tb1", "tb2", "tb3", "tb4", "pb1", "notes.txt", "BIM/x.xml", "R\u00e4ume/T\u00fcr 1.txt", "a/b.csv"};

bool isObject(const std::string& item) {
  return item.size() == 3;
}

std::string fileOf(const std::string& item) {
  if (isObject(item)) return item.substr(0, 2) + "00000" + item[2] + (item[0] == 't' ? ".zdw" : ".zpl");
  std::string file = lowerCase(item);
  std::replace(file.begin(), file.end(), '\\', '/');
  return file;
}

/// The list of the project's users, which the library writes beside what people write.
bool isUserList(const std::string& file) {
  return file.starts_with("net/");
}

/// What a command told of its items, as far as it came.
std::vector<nlohmann::json> results(const ProgramRun& run) {
  std::vector<nlohmann::json> lines;
  std::istringstream stream(run.out);
  for (std::string text; std::getline(stream, text);) {
    const auto line = nlohmann::json::parse(text, nullptr, false);
    if (line.is_object() && line.contains("item")) lines.push_back(line);
  }
  return lines;
}

struct Command {
  std::string user;
  Words words;
  int killAfter = -1;
  ProgramRun run = {};
  Contents here = {};  ///< before it ran

  bool has(const char* word) const { return std::find(words.begin(), words.end(), word) != words.end(); }
};

class Journey {
 public:
  Journey(ConvergenceOffice& office, unsigned seed) : office_(office), random_(seed), view_(office.storeView()) {}

  void run() {
    for (int i = 10 + below(8); i > 0; --i) step();
    converge();
  }
  const std::string& story() const { return story_; }

 private:
  int below(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
  std::string oneOf(const Words& words) { return words[random_() % words.size()]; }

  ProgramRun call(const std::string& user, const Words& words, int killAfter = -1) {
    std::vector<Command> commands{{user, words, killAfter}};
    perform(commands);
    return commands.front().run;
  }

  /// Runs commands at the same time, and looks at everything that they may have touched.
  void perform(std::vector<Command>& commands) {
    std::vector<std::thread> threads;
    for (Command& command : commands) command.here = office_.contentsOf(command.user);
    for (Command& command : commands) {
      command.words.insert(command.words.begin(), "--json");
      threads.emplace_back([&] { command.run = office_.run(command.user, command.words, command.killAfter); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const Command& command : commands) tell(command);
    const StoreView before = std::exchange(view_, office_.storeView());
    // What was saved beside a removal has to be there.
    removed_.clear();
    for (const Command& command : commands) accountRemovals(command, before);
    for (const Command& command : commands) account(command, before);
    for (const Command& command : commands) checkHere(command.user);
    checkStore();
  }

  void tell(const Command& command) {
    story_ += command.user;
    for (const std::string& word : command.words) story_ += " " + word;
    if (command.killAfter >= 0) story_ += " (killed after " + std::to_string(command.killAfter) + " ms)";
    const int code = command.run.exitCode;
    story_ += " -> " + std::to_string(code) + "\n" + command.run.out + command.run.err;
    const bool isKilled = command.killAfter >= 0 && code == 1000 + SIGKILL;
    if (!isKilled && code != 0 && code != 1 && code != 3 && code != 4) throw Fault("an exit code out of place");
  }

  void accountRemovals(const Command& command, const StoreView& before) {
    Lines files;
    for (const auto& line : results(command.run)) {
      const std::string outcome = line.value("outcome", "");
      if (outcome == "deleted in the store" || (outcome == "removed" && command.has("remove"))) {
        files.insert(fileOf(line["item"]));
      }
    }
    // One that was killed may have gone through all the same.
    const std::string last = fileOf(command.words.back());
    const bool isGone = before.contents.contains(last) && !view_.contents.contains(last);
    if (command.has("remove") && command.killAfter >= 0) {
      if (isGone) files.insert(last);
      // A refused one takes the lock again that the deletion gave back.
      held_.erase(last);
    }
    for (const std::string& file : files) {
      checkLocks(command.user, file, before);
      for (const Contents* contents : {&before.contents, &command.here}) {
        if (!contents->contains(file)) continue;
        for (const std::string& line : linesOf(file, contents->at(file))) {
          if (contents == &command.here || seen_[command.user].contains(line)) giveUp(line);
        }
      }
      held_.erase(file);
      removed_.insert(file);
    }
  }

  void account(const Command& command, const StoreView& before) {
    for (const auto& line : results(command.run)) {
      const std::string file = fileOf(line["item"]);
      if (isUserList(file)) continue;
      const std::string outcome = line.value("outcome", "");
      const bool isSent = outcome == "saved" || outcome == "sent";
      if (isSent) checkLocks(command.user, file, before);
      if (isSent || (outcome == "in step" && !removed_.contains(file))) acknowledge(command, file, isSent, before);
      if (outcome == "locked") held_[file] = command.user;
      if (outcome == "unlocked") held_.erase(file);
      if (command.has("locks") && view_.holders[file] != line["user"]) throw Fault("another holder of " + file);
    }
  }

  void checkLocks(const std::string& user, const std::string& file, const StoreView& before) {
    const auto was = before.holders.find(file);
    const auto is = view_.holders.find(file);
    const bool stayed = was != before.holders.end() && is != view_.holders.end() && was->second == is->second;
    if (stayed && is->second != user) throw Fault(file + " went past the lock of " + is->second);
    if (!projectHolder_.empty() && projectHolder_ != user) throw Fault(file + " went past the lock of the project");
  }

  void acknowledge(const Command& command, const std::string& file, bool isSent, const StoreView& before) {
    if (!command.here.contains(file))
      throw Fault(file + " was not here, and is told as " + (isSent ? "sent" : "in step"));
    const Lines lines = linesOf(file, command.here.at(file));
    for (const auto& [line, droppedFile] : dropped_[command.user]) {
      if (isSent && droppedFile == file && !lines.contains(line)) giveUp(line);
    }
    for (const auto& [line, owedFile] : std::map(owed_)) {
      if (!isSent || !command.has("--force") || owedFile != file || lines.contains(line)) continue;
      if (!office_.hasBackup(command.user, line)) throw Fault("a forced save kept no copy of " + line);
      giveUp(line);
    }
    // What a killed command had brought to the store without telling is as knowingly replaced by a forced save.
    if (isSent && command.has("--force") && before.contents.contains(file)) {
      for (const std::string& line : linesOf(file, before.contents.at(file))) {
        if (!lines.contains(line) && office_.hasBackup(command.user, line)) giveUp(line);
      }
    }
    for (const std::string& line : lines) {
      owed_[line] = file;
      unsent_[command.user].erase(line);
    }
  }

  void giveUp(const std::string& line) {
    owed_.erase(line);
    for (auto& entry : unsent_) entry.second.erase(line);
  }

  static bool holds(const Contents& contents, const std::string& file, const std::string& line) {
    const auto content = contents.find(file);
    return content != contents.end() && content->second.find(line) != std::string::npos;
  }

  /// Only whole contents, and every edit that was not acknowledged: here, in the store all the same, or in a backup.
  void checkHere(const std::string& user) {
    const Contents here = office_.contentsOf(user);
    for (const auto& [file, content] : here) {
      if (isUserList(file)) continue;
      for (const std::string& line : linesOf(file, content)) {
        if (!written_.contains(line)) throw Fault(user + " has a torn line in " + file + ": " + line);
        seen_[user].insert(line);
      }
    }
    std::erase_if(unsent_[user], [&](const auto& entry) {
      const auto& [line, file] = entry;
      if (holds(here, file, line) || holds(view_.contents, file, line)) return false;
      if (!office_.hasBackup(user, line)) throw Fault(user + " has lost, in " + file + ", " + line);
      return true;
    });
  }

  void checkStore() const {
    for (const auto& [line, file] : owed_) {
      if (!holds(view_.contents, file, line)) throw Fault("the store has lost, in " + file + ", " + line);
    }
    for (const auto& [file, user] : held_) {
      const auto holder = view_.holders.find(file);
      if (holder == view_.holders.end() || holder->second != user) throw Fault(user + " has lost the lock of " + file);
    }
  }

  void edit(const std::string& user, const std::string& item) {
    const std::string file = fileOf(item);
    const Contents here = office_.contentsOf(user);
    const bool isHere = here.contains(file);
    // Many are of one length: size and time alone must not decide anything.
    std::string line = std::to_string(1000 + written_.size()) + " by " + user + ".";
    if (below(4) == 0) line += std::string(static_cast<std::size_t>(below(40'000)), 'x') + ".";
    written_.insert(line);
    unsent_[user][line] = file;
    const std::string content = (isHere ? here.at(file) : "") + asLine(file, line);
    if (isObject(item)) {
      Words words{"import", office_.writeFile("source.dxf", content), "--into", item};
      if (!isHere) words = {"import", words[1], "--as", item.substr(0, 2), "--number", item.substr(2)};
      call(user, words);
      return;
    }
    story_ += user + " writes " + item + "\n";
    const fs::path place = office_.placeOf(user, item);
    fs::create_directories(place.parent_path());
    std::ofstream(place, std::ios::binary) << content;
  }

  void deleteHere(const std::string& user, const std::string& item) {
    story_ += user + " deletes " + item + "\n";
    const std::string file = fileOf(item);
    const Contents here = office_.contentsOf(user);
    if (here.contains(file)) {
      for (const std::string& line : linesOf(file, here.at(file))) dropped_[user][line] = file;
    }
    fs::remove(office_.placeOf(user, file));
    std::erase_if(unsent_[user], [&](const auto& entry) { return entry.second == file; });
  }

  void renameInCase(const std::string& user, const std::string& item) {
    const fs::path place = office_.placeOf(user, item);
    if (isObject(item) || !fs::exists(place)) return;
    std::string name = place.filename();
    for (char& c : name) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    story_ += user + " renames " + item + " to " + name + "\n";
    fs::rename(place, place.parent_path() / name);
  }

  /// @return the items that stayed as they are; `isQuiet` becomes false when anything is not in step, or was not
  Lines sync(const std::string& user, bool& isQuiet) {
    Lines stayed;
    const ProgramRun run = call(user, {"sync"});
    if (run.exitCode != 0 || !run.out.empty()) isQuiet = false;
    for (const auto& line : results(run)) {
      if (line["outcome"] == "kept") stayed.insert(line["item"]);
    }
    return stayed;
  }

  Words anyCommand(const std::string& item) {
    static const Words kVerbs{"save", "fetch", "sync", "push", "remove", "lock"};
    const std::string verb = oneOf(kVerbs);
    if (verb == "push" || verb == "sync" || (verb == "lock" && !isObject(item)))
      return {verb == "push" ? "push" : "sync"};
    return {verb, item};
  }

  void step() {
    const std::string user = oneOf(office_.users());
    const std::string item = oneOf(kItems);
    bool ignored = true;
    switch (below(16)) {
      case 0:
      case 1:
        if (isObject(item)) call(user, {"lock", item});
        edit(user, item);
        if (below(2) == 0) call(user, {"save", item});
        break;
      case 2:
        edit(user, item);
        return edit(oneOf(office_.users()), item);
      case 3:
      case 4:
      case 5:
        sync(user, ignored);
        break;
      case 6:
        call(user, {"push"});
        break;
      case 7:
        call(user, isObject(item) ? Words{"unlock", item} : Words{"locks"});
        break;
      case 8:
        call(user, {below(2) == 0 ? "remove" : "save", item});
        break;
      case 9:
        return below(2) == 0 ? renameInCase(user, item) : deleteHere(user, item);
      case 10:
        call(user, below(2) == 0 ? Words{"compress", "--all"} : Words{"--yes", "push", "--delete"});
        break;
      case 11:
        return lockProject(user);
      case 12:
        call(user, {below(2) == 0 ? "fetch" : "save", item, "--force"});
        break;
      case 13:
        return crash(user, item);
      default:
        return together(user, item);
    }
  }

  void lockProject(const std::string& user) {
    const bool isLocked = !projectHolder_.empty();
    const int code = call(isLocked ? projectHolder_ : user, {"project", isLocked ? "unlock" : "lock"}).exitCode;
    if (code != 0) throw Fault("the project can't be locked or unlocked");
    projectHolder_ = isLocked ? "" : user;
  }

  void crash(const std::string& user, const std::string& item) {
    edit(user, item);
    if (isObject(item) && below(2) == 0) call(user, {"lock", item});
    call(user, below(8) == 0 ? Words{"open", "Library"} : anyCommand(item), below(40));
    if (below(2) == 0 && call(user, {"open", "Library"}).exitCode != 0) throw Fault("it does not open after a crash");
  }

  void together(const std::string& user, const std::string& item) {
    std::vector<Command> commands;
    for (const std::string& each : office_.users()) {
      if (each != user && below(2) == 0) continue;
      if (below(2) == 0) edit(each, item);
      const int killAfter = below(4) == 0 ? below(40) : -1;
      commands.push_back({each, anyCommand(below(3) != 0 ? item : oneOf(kItems)), killAfter});
    }
    perform(commands);
  }

  void resolve(const std::string& user, const std::string& item) {
    if (isObject(item)) call(user, {"lock", item});
    if (below(2) == 0 || call(user, {"fetch", item, "--force"}).exitCode != 0) call(user, {"save", item, "--force"});
    if (isObject(item)) call(user, {"unlock", item});
  }

  void converge() {
    if (!projectHolder_.empty()) lockProject(projectHolder_);
    for (const auto& [file, user] : StoreView(view_).holders) {
      if (call(user, {"unlock", file}).exitCode != 0) throw Fault("a lock is not given back");
    }
    bool isQuiet = false;
    for (int round = 0; round < 8 && !isQuiet; ++round) {
      isQuiet = true;
      for (const std::string& user : office_.users()) {
        for (const std::string& item : sync(user, isQuiet)) resolve(user, item);
      }
    }
    if (!isQuiet) throw Fault("the workstations do not come to rest");
    for (const std::string& user : office_.users()) expectStore(user);
    // The last one joins anew.
    const std::string last = office_.users().back();
    fs::remove_all(office_.path(last));
    office_.must(last, {"init", "--store", office_.store(), "--name", last, "--email", last + "@example.org"});
    office_.must(last, {"open", "Library"});
    sync(last, isQuiet);
    expectStore(last);
  }

  void expectStore(const std::string& user) {
    const Contents here = office_.contentsOf(user);
    if (here == view_.contents) return;
    for (const auto& [file, content] : here) {
      if (!holds(view_.contents, file, content)) throw Fault(user + " has another " + file + " than the store");
    }
    throw Fault(user + " has less than the store");
  }

  using Files = std::map<std::string, std::string>;  ///< the file of each line

  ConvergenceOffice& office_;
  std::mt19937_64 random_;
  StoreView view_;
  std::string story_;
  Lines written_;
  Files owed_;                               ///< acknowledged, and not given up since
  std::map<std::string, Files> unsent_;      ///< written and not acknowledged, by user
  std::map<std::string, Files> dropped_;     ///< deleted here before the file was written anew, by user
  std::map<std::string, Lines> seen_;        ///< fetched or written, by user
  std::map<std::string, std::string> held_;  ///< acknowledged locks: the user by file
  std::string projectHolder_;
  Lines removed_;  ///< files that the step just made removed from the store
};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kSeeds = 16;
#else
constexpr int kSeeds = 200;
#endif
constexpr int kParts = 4;

int setting(const char* name, int otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::atoi(text);
}

/// By the number of workstations and the part of the seeds; the parts can run at the same time.
class Convergence : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(Convergence, LosesNothingAndEndsWithEqualCaches) {
  const auto [workstations, part] = GetParam();
  const Words names{"anna", "bert", "carl", "dora"};
  ConvergenceOffice office({names.begin(), names.begin() + workstations});
  const int first = setting("ZEPHOR_JOURNEY_FIRST_SEED", 1);
  const int end = first + (setting("ZEPHOR_JOURNEY_SEEDS", kSeeds) + 1) / 2;
  for (int seed = first + part; seed < end; seed += kParts) {
    office.reset();
    Journey journey(office, static_cast<unsigned>(seed));
    try {
      journey.run();
    } catch (const std::exception& fault) {
      ADD_FAILURE() << fault.what() << "\nseed " << seed << ", " << workstations << " workstations:\n"
                    << journey.story() << fault.what()
                    << "\nAgain: ZEPHOR_JOURNEY_SEEDS=1 ZEPHOR_JOURNEY_FIRST_SEED=" << seed
                    << " zephor_journey_tests --gtest_filter='*Convergence*/" << (workstations - 2) * 2 << "'";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Journeys, Convergence, testing::Combine(testing::Values(2, 4), testing::Range(0, kParts)));

}  // namespace
}  // namespace zephor_test
