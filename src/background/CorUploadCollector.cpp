#include "background/CorUploadCollector.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "background/BackgroundThread.h"
#include "background/Pacing.h"
#include "cloud/CloudCall.h"
#include "host/Project.h"
#include "platform/Synchronisation.h"
#include "zephor/ResourceContainers.h"

namespace Quorvel::FileAccess {
namespace {

constexpr const wchar_t* kInsert = L"Quorvel::FileAccess::CORUploadInfoCollector::insertInfo";
constexpr const wchar_t* kUpload = L"Quorvel::FileAccess::CORUploadInfoCollector::upload";
constexpr const wchar_t* kWorker = L"Quorvel::FileAccess::CORUploadInfoCollector::startThread::<lambda_1>::operator ()";
constexpr std::chrono::seconds kPause{1};
constexpr std::chrono::seconds kPauseAfterFailure{5};

}  // namespace

void CORUploadInfoCollector::insertInfo(const CORUploadInfo& record) {
  {
    const std::lock_guard guard(lock_);
    if (!listed_.insert(record.path).second) return;
    records_.push_back(record);
  }
  traceBackground(L"%s: Insert File=\"%s\" in the COR upload list\n", kInsert, record.path);
}

void CORUploadInfoCollector::startThread() {
  if (worker_.joinable()) throw std::logic_error("the collector of container changes runs already");
  stop_ = false;
  worker_ = std::thread([this] {
    workerId_ = std::this_thread::get_id();
    platform::nameThisThread(L"CORUploadInfoCollector");
    guardedCall(kWorker, [this] {
      work();
      return CloudStatus{0};
    });
  });
}

void CORUploadInfoCollector::stopThread() {
  if (workerId_.load() == std::this_thread::get_id()) {
    throw std::logic_error("the collector of container changes can't wait for itself");
  }
  stop_ = true;
  pacing().wake();
  if (worker_.joinable()) worker_.join();
  workerId_ = std::thread::id();
  const std::lock_guard transfer(transferLock_);
  const std::lock_guard guard(lock_);
  records_.clear();
  listed_.clear();
}

void CORUploadInfoCollector::work() {
  traceBackground(L"%s: CORUploadInfoCollector COR starts thread\n", kWorker);
  const auto isStopped = [this] { return stop_.load(); };
  while (!stop_) {
    if (count() < threshold_) {
      pacing().sleep(kPause, isStopped);
      continue;
    }
    traceBackground(L"%s: Threshold exceeded, try to upload %d COR entries\n", kWorker, threshold_);
    if (!upload(threshold_)) pacing().sleep(kPauseAfterFailure, isStopped);
  }
  const std::size_t remaining = count();
  traceBackground(L"%s: Upload and Unlock the remaining %d COR entries\n", kWorker, remaining);
  upload(remaining);
}

bool CORUploadInfoCollector::upload(std::size_t count) {
  const std::lock_guard transfer(transferLock_);
  const Batch batch = beginBatch(count);
  if (batch.empty()) {
    traceBackground(L"%s: COR entry is empty, upload is skipped\n", kUpload);
    return true;
  }
  const bool isDone = guardedCall(kUpload, [&] { return CloudStatus{commit(batch) ? 0 : 1}; }) == 0;
  endBatch(batch, isDone);
  return isDone;
}

std::size_t CORUploadInfoCollector::count() const {
  const std::lock_guard guard(lock_);
  return records_.size();
}

/// The batch stays listed. Its paths may be inserted again from here on.
CORUploadInfoCollector::Batch CORUploadInfoCollector::beginBatch(std::size_t count) {
  const std::lock_guard guard(lock_);
  Batch batch(records_.begin(), records_.begin() + static_cast<std::ptrdiff_t>(std::min(count, records_.size())));
  for (const CORUploadInfo& record : batch) listed_.erase(record.path);
  return batch;
}

/// Removes the batch, which is the beginning of the list; or lists it again, where its own first notices stand.
void CORUploadInfoCollector::endBatch(const Batch& batch, bool isDone) {
  const std::lock_guard guard(lock_);
  const auto behind = records_.begin() + static_cast<std::ptrdiff_t>(batch.size());
  if (isDone) {
    records_.erase(records_.begin(), behind);
    return;
  }
  std::unordered_set<std::wstring> again;
  for (const CORUploadInfo& record : batch) again.insert(record.path);
  records_.erase(
      std::remove_if(behind, records_.end(), [&](const CORUploadInfo& record) { return again.contains(record.path); }),
      records_.end());
  listed_.merge(again);
}

bool CORUploadInfoCollector::commit(const Batch& batch) {
  constexpr int kNoFlag = 0;
  constexpr bool kQuiet = true;
  const std::wstring container = get_ActivePrjCorUuid();
  const std::wstring& first = batch.front().path;
  if (!WGO_DownloadAndLockCORForResourceUpload(container, kNoFlag, kQuiet)) {
    traceBackground(L"%s: Download and lock COR by File=\"%s\" failed\n", kUpload, first);
    return false;
  }
  if (!WGO_CommitAndUnlockCOR(container, kNoFlag, kQuiet)) {
    traceBackground(L"%s: Upload and unlock COR by File=\"%s\" failed\n", kUpload, first);
    return false;
  }
  traceBackground(L"%s: Upload and unlock COR by File=\"%s\" successful.\n", kUpload, first);
  traceBackground(L"%s: %d uploaded files:\n", kUpload, batch.size());
  for (const CORUploadInfo& record : batch) traceBackground(L"%s: \"%s\"\n", kUpload, record.path);
  return true;
}

}  // namespace Quorvel::FileAccess
