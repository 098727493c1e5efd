// Changes of many threads in few transactions. What comes while one is being written goes together into the next: one
// sync of the bodies, one commit.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workstation/store/Bodies.h"
#include "workstation/store/Database.h"
#include "workstation/store/Gathering.h"
#include "workstation/store/StoreError.h"

namespace workstation {

/// From any thread.
class CommitQueue {
 public:
  using Work = std::function<void(Connection&)>;

  CommitQueue(std::string path, const Bodies& bodies) : path_(std::move(path)), bodies_(bodies) {}

  /// Returns when the bodies and then what `work` wrote are on the disk. A StoreError of the work undoes what it wrote,
  /// nothing else, and is thrown here; one of the transaction is thrown to all that were in it, and undoes them all.
  /// @param work  runs once, in this thread or another one that commits with it, while this one waits
  void commit(const std::vector<PlacedBody>& bodies, const Work& work);

 private:
  struct Job {
    const std::vector<PlacedBody>& bodies;
    const Work& work;
    std::optional<StoreError> error;
  };
  using Clock = std::chrono::steady_clock;

  std::size_t commitAll(const std::vector<Job*>& jobs);
  void write(const std::vector<Job*>& jobs, std::size_t& begun);
  void runInside(Job& job) const;
  void giveOthersTheirTurn();

  const std::string path_;
  const Bodies& bodies_;
  Gathering<Job> jobs_{64};
  // Of the thread that commits.
  std::unique_ptr<Connection> connection_;  // its own: the pool's may all be out with readers
  Clock::time_point streakBegan_;
  Clock::time_point lastEnded_;
};

}  // namespace workstation
