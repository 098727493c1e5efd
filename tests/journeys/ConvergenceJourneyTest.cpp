// Seeded journeys of several workstations through everything that people do to a project, with programs killed at any
// moment. Nothing acknowledged is lost, nothing refused disappears, and at the end all caches are equal to the store.
//
// ZEPHOR_JOURNEY_SEEDS=1000 ZEPHOR_JOURNEY_FIRST_SEED=1 zephor_journey_tests --gtest_filter='*Convergence*'
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

/// An item as commands name it, and its file.
struct Item {
  std::string word;
  std::string file;
};
const std::vector<Item> kItems{{"tb1", "tb000001.zdw"},           {"tb2", "tb000002.zdw"}, {"tb3", "tb000003.zdw"},
                               {"tb4", "tb000004.zdw"},           {"tb5", "tb000005.zdw"}, {"tb6", "tb000006.zdw"},
                               {"pb1", "pb000001.zpl"},           {"notes.txt", ""},       {"BIM/x.xml", ""},
                               {"R\u00e4ume/T\u00fcr 1.txt", ""}, {"a/b/deep.csv", ""}};

std::string fileOf(const std::string& word) {
  std::string key = lowerCase(word);
  std::replace(key.begin(), key.end(), '\\', '/');
  for (const Item& item : kItems) {
    if (item.word == key && !item.file.empty()) return item.file;
  }
  return key;
}

struct Command {
  std::string user;
  Words words;
  int killAfter = -1;
  ProgramRun run;
  Contents here;  ///< before it ran
};

class Journey {
 public:
  Journey(ConvergenceOffice& office, unsigned seed) : office_(office), random_(seed), view_(office.storeView()) {}

  void run() {
    const int steps = 10 + below(8);
    for (int i = 0; i < steps; ++i) step();
    converge();
  }
  const std::string& story() const { return story_; }

 private:
  int below(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
  template <typename Values>
  const auto& oneOf(const Values& values) {
    return values[static_cast<std::size_t>(below(static_cast<int>(values.size())))];
  }

  ProgramRun call(const std::string& user, const Words& words, int killAfter = -1) {
    std::vector<Command> commands{{user, words, killAfter, {}, {}}};
    perform(commands);
    return commands.front().run;
  }

  void perform(std::vector<Command>& commands) {
    for (Command& command : commands) {
      command.words.insert(command.words.begin(), "--json");
      command.here = office_.contentsOf(command.user);
    }
    std::vector<std::thread> others;
    const auto start = [this](Command& command) {
      command.run = office_.run(command.user, command.words, command.killAfter);
    };
    for (std::size_t i = 1; i < commands.size(); ++i) others.emplace_back(start, std::ref(commands[i]));
    start(commands.front());
    for (std::thread& other : others) other.join();
    for (const Command& command : commands) tell(command);
    const StoreView before = std::exchange(view_, office_.storeView());
    for (const bool removals : {true, false}) {
      for (const Command& command : commands) account(command, before, removals);
    }
    for (const Command& command : commands) check(command.user);
    checkStore();
  }

  void tell(const Command& command) {
    story_ += command.user;
    for (const std::string& word : command.words) story_ += " " + word;
    if (command.killAfter >= 0) story_ += " (to be killed after " + std::to_string(command.killAfter) + " ms)";
    story_ += " -> " + std::to_string(command.run.exitCode) + "\n" + command.run.out + command.run.err;
    const int code = command.run.exitCode;
    const bool wasKilled = command.killAfter >= 0 && code == 1000 + SIGKILL;
    if (!wasKilled && code != 0 && code != 1 && code != 3 && code != 4) throw Fault("an exit code out of place");
  }

  /// What the command's lines promise. Removals count first: what was saved beside one must be there.
  void account(const Command& command, const StoreView& before, bool removals) {
    const std::string& verb = command.words[1] == "--yes" ? command.words[2] : command.words[1];
    for (const auto& line : results(command.run)) {
      if (!line.contains("item")) continue;
      const std::string file = fileOf(line["item"]);
      const std::string outcome = line["outcome"];
      const bool isRemoval = outcome == "deleted in the store" || (outcome == "removed" && verb == "remove");
      const bool isSaved = outcome == "saved" || outcome == "sent";
      if (isRemoval || isSaved) checkLocks(command.user, file, before);
      if (isRemoval != removals) continue;
      if (isRemoval) forget(command, file, before);
      if (isSaved || (outcome == "in step" && verb != "fetch")) acknowledge(command, file);
      if (outcome == "locked") held_[file] = command.user;
      if (outcome == "unlocked") held_.erase(file);
    }
  }

  static std::vector<nlohmann::json> results(const ProgramRun& run) {
    std::vector<nlohmann::json> lines;
    std::istringstream stream(run.out);
    for (std::string line; std::getline(stream, line);) {
      const auto parsed = nlohmann::json::parse(line, nullptr, false);
      if (!parsed.is_discarded()) lines.push_back(parsed);
    }
    return lines;
  }

  void checkLocks(const std::string& user, const std::string& file, const StoreView& before) {
    const auto was = before.holders.find(file);
    const auto is = view_.holders.find(file);
    const bool wasLocked = was != before.holders.end() && is != view_.holders.end() && was->second == is->second;
    if (wasLocked && is->second != user) throw Fault(file + " went past the lock of " + is->second);
    if (!projectHolder_.empty() && projectHolder_ != user) throw Fault(file + " went past the lock of the project");
  }

  void forget(const Command& command, const std::string& file, const StoreView& before) {
    for (const Contents* contents : {&before.contents, &command.here}) {
      const auto content = contents->find(file);
      if (content == contents->end()) continue;
      for (const std::string& line : linesOf(file, content->second)) excuse(line);
    }
    held_.erase(file);
  }

  void acknowledge(const Command& command, const std::string& file) {
    const auto content = command.here.find(file);
    if (content == command.here.end()) throw Fault(file + " is told as sent and was not here");
    const Lines lines = linesOf(file, content->second);
    const bool isForced = command.words.back() == "--force";
    for (const std::string& line : isForced ? linesOwed(file) : Lines()) {
      if (lines.contains(line)) continue;
      if (!office_.hasBackup(command.user, line)) throw Fault("a forced save kept no copy of " + line);
      excuse(line);
    }
    for (const std::string& line : lines) {
      owed_[line] = file;
      unsent_[command.user].erase(line);
    }
  }

  Lines linesOwed(const std::string& file) const {
    Lines lines;
    for (const auto& [line, owedFile] : owed_) {
      if (owedFile == file) lines.insert(line);
    }
    return lines;
  }

  void excuse(const std::string& line) {
    owed_.erase(line);
    for (auto& entry : unsent_) entry.second.erase(line);
  }

  static bool holds(const Contents& contents, const std::string& file, const std::string& line) {
    const auto content = contents.find(file);
    return content != contents.end() && content->second.find(line) != std::string::npos;
  }

  /// A workstation after a command: only whole contents, and every edit that was not acknowledged.
  void check(const std::string& user) {
    const Contents here = office_.contentsOf(user);
    for (const auto& [file, content] : here) {
      for (const std::string& line : linesOf(file, content)) {
        if (!written_.contains(line)) throw Fault(user + " has a torn line in " + file + ": " + line);
      }
    }
    auto& unsent = unsent_[user];
    for (auto entry = unsent.begin(); entry != unsent.end();) {
      const auto& [line, file] = *entry;
      const bool isKept = holds(here, file, line) || holds(view_.contents, file, line);
      if (!isKept && !office_.hasBackup(user, line)) throw Fault(user + " has lost its own " + line + " of " + file);
      entry = isKept ? std::next(entry) : unsent.erase(entry);
    }
  }

  void checkStore() {
    for (const auto& [line, file] : owed_) {
      if (!holds(view_.contents, file, line)) throw Fault("the store has lost " + line + " of " + file);
    }
    for (const auto& [file, user] : held_) {
      const auto holder = view_.holders.find(file);
      if (holder == view_.holders.end() || holder->second != user) throw Fault(user + " has lost the lock of " + file);
    }
  }

  void edit(const std::string& user, const Item& item) {
    const std::string file = fileOf(item.word);
    const Contents here = office_.contentsOf(user);
    const auto found = here.find(file);
    std::string line = std::to_string(written_.size()) + " " + user + " ";
    line += std::string(static_cast<std::size_t>(below(4) == 0 ? below(40'000) : below(40)), 'x') + ".";
    const std::string content = withLine(file, found == here.end() ? "" : found->second, line);
    written_.insert(line);
    unsent_[user][line] = file;
    if (isDrawing(file)) {
      const std::string source = office_.writeFile("source.dxf", content).string();
      if (found != here.end()) {
        call(user, {"import", source, "--into", item.word});
      } else {
        call(user, {"import", source, "--number", item.word.substr(2), "--as", item.word.substr(0, 2)});
      }
      return;
    }
    story_ += user + " writes " + item.word + "\n";
    const fs::path place = office_.placeOf(user, item.word);
    fs::create_directories(place.parent_path());
    std::ofstream(place, std::ios::binary) << content;
  }

  void deleteHere(const std::string& user, const Item& item) {
    story_ += user + " deletes " + item.word + "\n";
    fs::remove(office_.placeOf(user, fileOf(item.word)));
    std::erase_if(unsent_[user], [&](const auto& entry) { return entry.second == fileOf(item.word); });
  }

  void renameCase(const std::string& user, const Item& item) {
    const fs::path place = office_.placeOf(user, item.word);
    if (isDrawing(fileOf(item.word)) || !fs::exists(place)) return;
    std::string name = place.filename().string();
    name.front() = static_cast<char>(name.front() ^ 0x20);
    story_ += user + " renames " + item.word + " to " + name + "\n";
    fs::rename(place, place.parent_path() / name);
  }

  /// The commands that bring a workstation in step.
  std::vector<Words> syncCommands() {
    Words fetch{"fetch"};
    for (const auto& [file, content] : view_.contents) {
      if (!isDrawing(file)) fetch.push_back(file);
    }
    std::vector<Words> commands{{"fetch", "--all"}, {"deleted", "--remove"}, {"push"}};
    if (fetch.size() > 1) commands.insert(commands.begin(), fetch);
    return commands;
  }

  /// @return the words of the items that did not get in step
  std::set<std::string> sync(const std::string& user, bool& isQuiet) {
    std::set<std::string> stuck;
    for (const Words& words : syncCommands()) {
      for (const auto& line : results(call(user, words))) {
        const std::string outcome = line["outcome"];
        if (outcome == "in step") continue;
        isQuiet = false;
        if (outcome == "kept" || outcome == "refused" || outcome.starts_with("not ") || outcome.starts_with("left ")) {
          stuck.insert(line["item"]);
        } else {
          stuck.erase(line["item"]);
        }
      }
    }
    return stuck;
  }

  Words anyCommand(const Item& item) {
    const std::vector<Words> sync = syncCommands();
    switch (below(isDrawing(item.file) ? 6 : 4)) {
      case 0:
        return oneOf(sync);
      case 1:
        return {"push"};
      case 2:
        return {"save", item.word};
      case 3:
        return {"fetch", item.word};
      case 4:
        return {"lock", item.word};
      default:
        return {"fetch", "--all"};
    }
  }

  void step() {
    const std::string& user = oneOf(office_.users());
    const Item& item = oneOf(kItems);
    const bool isObject = isDrawing(item.file);
    bool ignored = true;
    switch (below(16)) {
      case 0:
      case 1:
        if (isObject) call(user, {"lock", item.word});
        edit(user, item);
        if (below(2) == 0) call(user, {"save", item.word});
        return;
      case 2:
        return edit(user, item);
      case 3:
        edit(user, item);
        return edit(oneOf(office_.users()), item);
      case 4:
      case 5:
        sync(user, ignored);
        return;
      case 6:
        call(user, {"push"});
        return;
      case 7:
        if (isObject) call(user, {below(2) == 0 ? "lock" : "unlock", item.word});
        return;
      case 8:
        call(user, {below(3) == 0 ? "remove" : "save", item.word});
        return;
      case 9:
        return below(2) == 0 ? renameCase(user, item) : deleteHere(user, item);
      case 10:
        call(user, below(2) == 0 ? Words{"compress", "--all"} : Words{"--yes", "push", "--delete"});
        return;
      case 11:
        return lockProject(user);
      case 12:
        call(user, {below(2) == 0 ? "fetch" : "save", item.word, "--force"});
        return;
      case 13:
        return crash(user, item);
      default:
        return together(user, item);
    }
  }

  void lockProject(const std::string& user) {
    if (!projectHolder_.empty()) {
      call(projectHolder_, {"project", "unlock"});
      projectHolder_.clear();
    } else if (call(user, {"project", "lock"}).exitCode == 0) {
      projectHolder_ = user;
    }
  }

  void crash(const std::string& user, const Item& item) {
    edit(user, item);
    if (isDrawing(item.file) && below(2) == 0) call(user, {"lock", item.word});
    call(user, below(8) == 0 ? Words{"open", "Library"} : anyCommand(item), below(40));
    if (below(2) == 0 && call(user, {"open", "Library"}).exitCode != 0) throw Fault("it does not open after a crash");
  }

  void together(const std::string& user, const Item& item) {
    if (below(2) == 0) edit(user, item);
    std::vector<Command> commands;
    for (const std::string& each : office_.users()) {
      if (each != user && below(2) == 0) continue;
      commands.push_back({each, anyCommand(below(2) == 0 ? item : oneOf(kItems)), -1, {}, {}});
      if (below(4) == 0) commands.back().killAfter = below(40);
    }
    perform(commands);
  }

  void resolve(const std::string& user, const std::string& word) {
    const bool isObject = isDrawing(fileOf(word));
    if (isObject) call(user, {"lock", word});
    if (below(2) == 0 || call(user, {"fetch", word, "--force"}).exitCode != 0) call(user, {"save", word, "--force"});
    if (isObject) call(user, {"unlock", word});
  }

  void converge() {
    if (!projectHolder_.empty()) lockProject(projectHolder_);
    for (const auto& [file, user] : StoreView(view_).holders) {
      const auto item = std::find_if(kItems.begin(), kItems.end(), [&](const auto& each) { return each.file == file; });
      if (call(user, {"unlock", item->word}).exitCode != 0) throw Fault("a lock is not given back");
    }
    constexpr int kRounds = 8;
    bool isQuiet = false;
    for (int round = 0; round < kRounds && !isQuiet; ++round) {
      isQuiet = true;
      for (const std::string& user : office_.users()) {
        for (const std::string& word : sync(user, isQuiet)) resolve(user, word);
      }
    }
    if (!isQuiet) throw Fault("the workstations do not come to rest");
    // A workstation that joins now.
    const std::string& last = office_.users().back();
    const std::string store = office_.store().string();
    fs::rename(office_.path(last), office_.path("left"));
    office_.must(last, {"init", "--store", store, "--name", last, "--email", last + "@example.org"});
    office_.must(last, {"open", "Library"});
    sync(last, isQuiet);
    expectStore(last);
    fs::remove_all(office_.path(last));
    fs::rename(office_.path("left"), office_.path(last));
    for (const std::string& user : office_.users()) expectStore(user);
  }

  void expectStore(const std::string& user) {
    const Contents here = office_.contentsOf(user);
    for (const auto& [file, content] : view_.contents) {
      const auto found = here.find(file);
      if (found == here.end()) throw Fault(user + " lacks " + file);
      if (found->second != content) throw Fault(user + " has another " + file);
    }
    for (const auto& [file, content] : here) {
      if (!view_.contents.contains(file)) throw Fault(user + " has " + file + " beyond the store");
    }
  }

  using ByLine = std::map<std::string, std::string>;  ///< the file that a line lies in

  ConvergenceOffice& office_;
  std::mt19937_64 random_;
  StoreView view_;
  std::string story_;
  Lines written_;
  ByLine owed_;                              ///< acknowledged, and not given up
  std::map<std::string, ByLine> unsent_;     ///< by user
  std::map<std::string, std::string> held_;  ///< acknowledged locks: user by file
  std::string projectHolder_;
};

int setting(const char* name, int otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::atoi(text);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kSeeds = 16;
#else
constexpr int kSeeds = 200;
#endif
constexpr int kParts = 4;

/// Workstations, and which of the seeds, so that they can run beside each other.
class Convergence : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(Convergence, NothingIsLostAndAllCachesEqualTheStore) {
  const auto [workstations, part] = GetParam();
  const Words names{"anna", "ben", "carl", "dora"};
  ConvergenceOffice office({names.begin(), names.begin() + workstations});
  const int first = setting("ZEPHOR_JOURNEY_FIRST_SEED", 1);
  const int count = (setting("ZEPHOR_JOURNEY_SEEDS", kSeeds) + 1) / 2;
  for (int seed = first + part; seed < first + count; seed += kParts) {
    office.reset();
    Journey journey(office, static_cast<unsigned>(seed));
    try {
      journey.run();
    } catch (const std::exception& fault) {
      ADD_FAILURE() << fault.what() << "\nseed " << seed << ", " << workstations << " workstations:\n"
                    << journey.story() << fault.what()
                    << "\nAgain: ZEPHOR_JOURNEY_SEEDS=1 ZEPHOR_JOURNEY_FIRST_SEED=" << seed
                    << " zephor_journey_tests --gtest_filter='*Convergence*/" << workstations << "_*'";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Convergence, testing::Combine(testing::Values(2, 4), testing::Range(0, kParts)),
                         [](const auto& instance) {
                           return std::to_string(std::get<0>(instance.param)) + "_" +
                                  std::to_string(std::get<1>(instance.param));
                         });

}  // namespace
}  // namespace zephor_test
