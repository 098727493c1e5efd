#include "workstation/objects/LockPicture.h"

#include <utility>

namespace workstation::filelocks {

std::uint64_t LockPicture::beginListing() {
  const std::lock_guard guard(mutex_);
  return ++listings_;
}

void LockPicture::keep(const LockPlace& place, std::uint64_t begun, const Locks& locks) {
  const std::lock_guard guard(mutex_);
  if (begun < begun_) return;
  place_ = place;
  begun_ = begun;
  locks_ = locks;
}

void LockPicture::forget(const LockPlace& place, const std::wstring& fileName) {
  const std::lock_guard guard(mutex_);
  if (begun_ == 0 || place_ != place) return;
  begun_ = ++listings_;
  std::erase_if(locks_, [&](const auto& lock) { return lock.fileName == fileName; });
}

std::optional<LockPicture::Locks> LockPicture::find(const LockPlace& place) {
  const std::lock_guard guard(mutex_);
  if (begun_ == 0 || place_ != place) return std::nullopt;
  return locks_;
}

void LockPicture::setGranted(const LockPlace& place, const std::wstring& fileName, bool isGranted) {
  const std::lock_guard guard(mutex_);
  if (!isGranted) {
    granted_[place].erase(fileName);
    return;
  }
  granted_[place].insert(fileName);
  leftOvers_[place].erase(fileName);
}

bool LockPicture::isGranted(const LockPlace& place, const std::wstring& fileName) {
  const std::lock_guard guard(mutex_);
  return granted_[place].contains(fileName);
}

void LockPicture::addLeftOver(const LockPlace& place, const std::wstring& fileName) {
  const std::lock_guard guard(mutex_);
  leftOvers_[place].insert(fileName);
}

std::set<std::wstring> LockPicture::takeLeftOvers(const LockPlace& place) {
  const std::lock_guard guard(mutex_);
  return std::exchange(leftOvers_[place], {});
}

}  // namespace workstation::filelocks
