#include "services/FileServicesState.h"
#include "zephor/FileServices.h"

namespace Quorvel::FileAccess {
namespace {

void change(std::atomic<int>& count, bool block) {
  if (block) {
    ++count;
    return;
  }
  int value = count;
  while (value > 0 && !count.compare_exchange_weak(value, value - 1)) {
  }
}

}  // namespace

void WGO_blockUpload(bool block) {
  change(fileServicesState().uploadBlocks, block);
}
void WGO_blockDownload(bool block) {
  change(fileServicesState().downloadBlocks, block);
}
bool WGO_isBlockedUpload() {
  return fileServicesState().uploadBlocks > 0;
}
bool WGO_isBlockedDownload() {
  return fileServicesState().downloadBlocks > 0;
}

ScopedWGOBlockUpload::ScopedWGOBlockUpload() {
  WGO_blockUpload(true);
}
ScopedWGOBlockUpload::~ScopedWGOBlockUpload() {
  WGO_blockUpload(false);
}
ScopedWGOBlockDownload::ScopedWGOBlockDownload() {
  WGO_blockDownload(true);
}
ScopedWGOBlockDownload::~ScopedWGOBlockDownload() {
  WGO_blockDownload(false);
}

}  // namespace Quorvel::FileAccess
