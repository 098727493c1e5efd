// The releases of this host. The sub-release holds the main release times ten, so that both name the same release.
#pragma once

namespace workstation {

constexpr int kMainRelease = 27;
constexpr short kSubRelease = 270;
static_assert(kSubRelease / 10 == kMainRelease);

}  // namespace workstation
