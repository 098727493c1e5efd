// The session of one user at one workstation in one store: opened store, session row with its heartbeat, token.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "workstation/store/CloudStore.h"

namespace workstation {

/// From any thread.
class EmbeddedSession {
 public:
  EmbeddedSession() = default;
  EmbeddedSession(std::string storeDirectory, StoreActor actor);
  /// Ends the heartbeat; the row stays until it has run out unless logOut() was called before.
  ~EmbeddedSession();
  EmbeddedSession(const EmbeddedSession&) = delete;
  EmbeddedSession& operator=(const EmbeddedSession&) = delete;

  /// Points the session at another store or actor; the session before is logged out.
  void connect(std::string storeDirectory, StoreActor actor);
  std::string directory() const;
  StoreActor actor() const;
  /// Opens the store on first use, and sweeps it when that is due.
  std::shared_ptr<CloudStore> store(CloudStatus& status, std::wstring& error);

  /// Succeeds when the store opens and the actor is registered in it.
  CloudStatus logIn(std::wstring& error);
  /// After this no operation is answered until the next logIn().
  void logOut();
  bool isUp() const;
  bool isLoggedOut() const;
  /// Empty without a session. A secret: never goes to a log.
  std::wstring token() const;
  /// Name of the session's row.
  std::string id() const;
  void noteProject(const std::wstring& project);
  std::wstring project() const;

 private:
  void end(bool loggedOut);
  void keepBeating(const std::stop_token& stop);
  CloudStatus beat();

  std::mutex loginMutex_;  // one login or end at a time; taken before mutex_
  mutable std::mutex mutex_;
  std::string directory_;
  StoreActor actor_;
  std::shared_ptr<CloudStore> store_;
  bool loggedOut_ = false;
  std::string id_;
  std::string token_;
  std::string tokenSha256_;
  std::wstring project_;
  std::condition_variable_any wake_;
  std::jthread heartbeat_;
};

/// The process's own, which StoreContext.h is about.
EmbeddedSession& embeddedSession();

}  // namespace workstation
