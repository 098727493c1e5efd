#include "workstation/program/WatchDecision.h"

#include <algorithm>

namespace workstation::program {

UploadStep decideUpload(const UploadFacts& facts) {
  // What was deleted by this workstation has no base: a file that is made anew is new.
  if (!facts.stored) return facts.base ? UploadStep::DeletedThere : UploadStep::Send;
  if (facts.here.looksLike(*facts.stored)) return UploadStep::AlreadyThere;
  const bool isSettled = facts.settled && facts.settled->isKnown() && facts.settled->size == facts.stored->size &&
                         facts.settled->sha256 == facts.stored->sha256;
  if (isSettled || (facts.base && *facts.base == facts.store)) return UploadStep::Send;
  return facts.hasStoredContent() ? UploadStep::AlreadyThere : UploadStep::ChangedThere;
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
