#include "workstation/program/StoreNews.h"

#include <algorithm>

#include "host/Project.h"
#include "platform/Paths.h"
#include "platform/Text.h"
#include "workstation/program/Context.h"

namespace workstation::program {

namespace {

using namespace std::chrono_literals;
constexpr auto kAskAtLeast = 2s;
constexpr auto kBetweenListings = 1s;

std::string keyOf(const std::wstring& name) {
  return platform::toUtf8(platform::toLower(name));
}

}  // namespace

StoreNews::StoreNews(Context& context) : context_(context), project_(get_ActivePrj().GetOndrathProjectUuid()) {}

bool StoreNews::isWritten() {
  const std::wstring database = platform::libraryPath(context_.store().directory() + "/store.db");
  const FileContent now = contentOnDisk(database);
  const FileContent log = contentOnDisk(database + L"-wal");
  const auto isSame = [](const FileContent& one, const FileContent& other) {
    return one.size == other.size && one.modified == other.modified;
  };
  if (Clock::now() < nextQuestion_ && isSame(now, database_) && isSame(log, log_)) return false;
  database_ = now;
  log_ = log;
  nextQuestion_ = Clock::now() + kAskAtLeast;
  return true;
}

bool StoreNews::hasCome() {
  // A change that waits for its listing has been asked for already.
  const bool isWaiting = counter_ < 0;
  if (isWaiting ? Clock::now() < nextListing_ : !isWritten()) return false;
  StoreProject project;
  if (context_.store().project(context_.actor(), project_, project) != kStoreOk) {
    nextQuestion_ = {};  // until it answers
    throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  }
  if (project.changeCounter == counter_) return false;
  if (Clock::now() < nextListing_) {
    counter_ = -1;
    return false;
  }
  nextListing_ = Clock::now() + kBetweenListings;
  const bool isNews = differsFromOwn();
  counter_ = project.changeCounter;
  return isNews;
}

bool StoreNews::differsFromOwn() {
  std::vector<ListedFile> files;
  if (context_.store().outline(context_.actor(), project_, files) != kStoreOk) {
    throw CommandFailure{ExitCode::Failure, CloudStore::lastText()};
  }
  bool isNews = false;
  std::unordered_map<std::string, std::int64_t> revisions;
  revisions.reserve(files.size());
  for (const ListedFile& file : files) {
    const std::int64_t revision = file.file.revision;
    const auto before = revisions_.find(file.key);
    const bool isKnown = before != revisions_.end() && before->second == revision;
    const auto own = own_.find(file.key);
    isNews = isNews || (!isKnown && (own == own_.end() || own->second != revision));
    revisions.emplace(file.key, revision);
  }
  for (const auto& [key, revision] : revisions_) {
    const auto own = own_.find(key);
    const bool isOwn = own != own_.end() && own->second == 0;
    isNews = isNews || (!revisions.contains(key) && !isOwn);
  }
  revisions_ = std::move(revisions);
  own_.clear();
  return isNews;
}

void StoreNews::noteOwn(const TransferOutcome& outcome) {
  if (outcome.status != kStoreOk || (outcome.stored.revision == 0 && !outcome.isDeletion)) return;
  own_[keyOf(outcome.name)] = outcome.stored.revision;
}

}  // namespace workstation::program
