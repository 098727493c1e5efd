#include "workstation/program/WatchDecision.h"

#include <algorithm>

namespace workstation::program {

UploadStep decideUpload(const UploadFacts& facts) {
  // What was deleted by this workstation has no base: a file that is made anew is new.
  if (!facts.stored) return facts.base ? UploadStep::DeletedThere : UploadStep::Send;
  const bool isSettled = facts.settled && facts.settled->isKnown() && facts.settled->size == facts.stored->size &&
                         facts.settled->sha256 == facts.stored->sha256;
  // Size and time alone prove nothing about content that no transfer has moved: archives and copies keep times.
  if ((isSettled && facts.here.looksLike(*facts.settled)) || facts.hasStoredContent()) return UploadStep::AlreadyThere;
  const bool isKnown = facts.isOwn || isSettled || (facts.base && *facts.base == facts.store);
  return isKnown ? UploadStep::Send : UploadStep::ChangedThere;
}

bool looksLikeAccident(std::size_t vanished, std::size_t served) {
  constexpr std::size_t kFew = 50;
  return vanished > kFew && vanished * 2 > served;
}

std::chrono::seconds Backoff::next() {
  constexpr std::chrono::seconds kLongest{60};
  const std::chrono::seconds pause = pause_;
  pause_ = std::min(pause_ * 2, kLongest);
  return pause;
}

}  // namespace workstation::program
