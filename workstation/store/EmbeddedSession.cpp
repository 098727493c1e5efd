#include "workstation/store/EmbeddedSession.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/Text.h"
#include "workstation/store/Bodies.h"
#include "workstation/store/StoreError.h"

namespace workstation {

namespace {

constexpr std::int64_t kDefaultTimeoutSeconds = 120;
constexpr std::int64_t kBeatsInTimeout = 4;
/// So that a time-out that was made shorter is kept by those who are in their pause.
constexpr std::int64_t kLongestPauseSeconds = 15;

}  // namespace

EmbeddedSession::EmbeddedSession(std::string storeDirectory, StoreActor actor)
    : directory_(std::move(storeDirectory)), actor_(std::move(actor)) {}

EmbeddedSession::~EmbeddedSession() {
  heartbeat_ = {};
}

void EmbeddedSession::connect(std::string storeDirectory, StoreActor actor) {
  const std::lock_guard login(loginMutex_);
  end(false);
  const std::lock_guard lock(mutex_);
  if (directory_ != storeDirectory) store_.reset();
  directory_ = std::move(storeDirectory);
  actor_ = std::move(actor);
  project_.clear();
}

std::string EmbeddedSession::directory() const {
  const std::lock_guard lock(mutex_);
  return directory_;
}

StoreActor EmbeddedSession::actor() const {
  const std::lock_guard lock(mutex_);
  return actor_;
}

std::shared_ptr<CloudStore> EmbeddedSession::store(CloudStatus& status, std::wstring& error) {
  std::shared_ptr<CloudStore> opened;
  {
    const std::lock_guard lock(mutex_);
    status = kStoreOk;
    if (store_ != nullptr) return store_;
    if (directory_.empty()) {
      status = kStoreNotConnected;
      error = L"this workstation is not connected to a cloud store";
      setLastStoreText(error);
      return nullptr;
    }
    opened = store_ = CloudStore::open(directory_, status, error);
  }
  if (opened != nullptr) opened->sweepDaily();  // takes its time, during which others go on
  return opened;
}

CloudStatus EmbeddedSession::logIn(std::wstring& error) {
  const std::lock_guard login(loginMutex_);
  CloudStatus status = kStoreOk;
  const std::shared_ptr<CloudStore> opened = store(status, error);
  if (opened == nullptr) return status;
  CloudUser registered;
  status = opened->findUser(actor().user.uuid, registered);
  if (status != kStoreOk) {
    error = CloudStore::lastText();
    return status;
  }
  {
    const std::lock_guard lock(mutex_);
    if (heartbeat_.joinable()) return kStoreOk;
    status = answerOf([&] {
      id_ = randomHex(16);
      token_ = randomHex(32);
      tokenSha256_ = sha256Of(token_);
    });
  }
  if (status == kStoreOk) status = beat();
  if (status != kStoreOk) {
    error = CloudStore::lastText();
    const std::lock_guard lock(mutex_);
    id_.clear();
    token_.clear();
    return status;
  }
  const std::lock_guard lock(mutex_);
  loggedOut_ = false;
  heartbeat_ = std::jthread([this](const std::stop_token& stop) { keepBeating(stop); });
  return kStoreOk;
}

void EmbeddedSession::logOut() {
  const std::lock_guard login(loginMutex_);
  end(true);
}

void EmbeddedSession::end(bool loggedOut) {
  std::jthread heartbeat;
  std::shared_ptr<CloudStore> opened;
  std::string session;
  {
    const std::lock_guard lock(mutex_);
    loggedOut_ = loggedOut;
    heartbeat = std::move(heartbeat_);
    opened = store_;
    session = std::exchange(id_, {});
    token_.clear();
    tokenSha256_.clear();
  }
  heartbeat = {};  // ends and joins, outside the lock that a beat takes
  if (opened != nullptr && !session.empty()) opened->endSession(session);
}

bool EmbeddedSession::isUp() const {
  const std::lock_guard lock(mutex_);
  return heartbeat_.joinable();
}

bool EmbeddedSession::isLoggedOut() const {
  const std::lock_guard lock(mutex_);
  return loggedOut_;
}

std::wstring EmbeddedSession::token() const {
  const std::lock_guard lock(mutex_);
  return platform::fromUtf8(token_);
}

std::string EmbeddedSession::id() const {
  const std::lock_guard lock(mutex_);
  return id_;
}

void EmbeddedSession::noteProject(const std::wstring& project) {
  const std::lock_guard login(loginMutex_);  // or the row could come back after the session's end
  {
    const std::lock_guard lock(mutex_);
    project_ = project;
    if (!heartbeat_.joinable()) return;
  }
  beat();
}

std::wstring EmbeddedSession::project() const {
  const std::lock_guard lock(mutex_);
  return project_;
}

CloudStatus EmbeddedSession::beat() {
  std::shared_ptr<CloudStore> opened;
  StoreActor actor;
  std::string session;
  std::string tokenSha256;
  std::wstring project;
  {
    const std::lock_guard lock(mutex_);
    if (store_ == nullptr || id_.empty()) {
      setLastStoreText(L"there is no session in the cloud store");
      return kStoreNotConnected;
    }
    opened = store_;
    actor = actor_;
    session = id_;
    tokenSha256 = tokenSha256_;
    project = project_;
  }
  return opened->beat(actor, session, project, tokenSha256);
}

void EmbeddedSession::keepBeating(const std::stop_token& stop) {
  std::mutex own;
  std::unique_lock waiting(own);
  while (!stop.stop_requested()) {
    std::shared_ptr<CloudStore> opened;
    {
      const std::lock_guard lock(mutex_);
      opened = store_;
    }
    const std::int64_t timeout =
        opened == nullptr ? kDefaultTimeoutSeconds : opened->setting("session_timeout_seconds", kDefaultTimeoutSeconds);
    const auto pause =
        std::chrono::seconds(std::clamp<std::int64_t>(timeout / kBeatsInTimeout, 1, kLongestPauseSeconds));
    if (wake_.wait_for(waiting, stop, pause, [] { return false; }) || stop.stop_requested()) return;
    // A beat that fails tells nobody: the next operation meets the same store and answers for itself.
    beat();
  }
}

EmbeddedSession& embeddedSession() {
  static EmbeddedSession session;
  return session;
}

}  // namespace workstation
