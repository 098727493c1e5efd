#include "workstation/store/CommitQueue.h"

#include <thread>

namespace workstation {

namespace {

using namespace std::chrono_literals;

/// How long a transaction takes in further jobs, and how long one may follow another at once.
constexpr auto kTurn = 50ms;
/// Other processes look this often whether the store is free.
constexpr auto kPause = 2ms;

}  // namespace

void CommitQueue::commit(const std::vector<PlacedBody>& bodies, const Work& work) {
  Job job{bodies, work, std::nullopt};
  jobs_.run(job, [this](const std::vector<Job*>& jobs) { return commitAll(jobs); });
  if (job.error) throw StoreError(std::move(*job.error));
}

std::size_t CommitQueue::commitAll(const std::vector<Job*>& jobs) {
  std::size_t begun = 0;
  const std::optional<StoreError> error = caughtFrom([&] { write(jobs, begun); });
  if (!error) return begun;
  // Where not even the transaction began the others would only wait as long for the same.
  if (begun == 0) begun = jobs.size();
  for (std::size_t i = 0; i < begun; ++i) jobs[i]->error = error;
  if (connection_ != nullptr && connection_->isInTransaction()) connection_.reset();
  return begun;
}

void CommitQueue::write(const std::vector<Job*>& jobs, std::size_t& begun) {
  std::vector<PlacedBody> bodies;
  for (const Job* job : jobs) bodies.insert(bodies.end(), job->bodies.begin(), job->bodies.end());
  if (!bodies.empty()) bodies_.sync(bodies);
  if (connection_ == nullptr) connection_ = std::make_unique<Connection>(path_, Connection::Mode::OpenExisting);
  giveOthersTheirTurn();
  WriteTransaction transaction(*connection_);
  const Clock::time_point start = Clock::now();
  while (begun < jobs.size() && (begun == 0 || Clock::now() - start < kTurn)) runInside(*jobs[begun++]);
  transaction.commit();
  lastEnded_ = Clock::now();
}

void CommitQueue::runInside(Job& job) const {
  connection_->execute("SAVEPOINT job");
  job.error = caughtFrom([&] { job.work(*connection_); });
  // Some failures undo the whole transaction.
  if (job.error && !connection_->isInTransaction()) throw StoreError(*job.error);
  connection_->execute(job.error ? "ROLLBACK TO job; RELEASE job" : "RELEASE job");
}

void CommitQueue::giveOthersTheirTurn() {
  const Clock::time_point now = Clock::now();
  if (now - lastEnded_ >= kPause) streakBegan_ = now;
  if (now - streakBegan_ < kTurn) return;
  std::this_thread::sleep_for(kPause);
  streakBegan_ = Clock::now();
}

}  // namespace workstation
