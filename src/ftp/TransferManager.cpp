#include <cstdlib>
#include <memory>

#include "core/ServiceState.h"
#include "ftp/FtpConnection.h"
#include "host/UserMessages.h"
#include "zephor/FileTransfer.h"

namespace Quorvel::FileAccess {
namespace {

void destroyManager() {
  ServiceState& state = serviceState();
  state.manager.reset();
  state.managerDestroyed = true;
  state.managerCreated = false;
}

void registerExitHookOnce() {
  static const int result = std::atexit(&destroyManager);
  static_cast<void>(result);
}

}  // namespace

IZepInetFileTransfer& getInetFileManager() {
  ServiceState& state = serviceState();
  if (state.manager == nullptr) {
    state.managerDestroyed = false;
    state.manager = std::make_unique<CZepFtpConnection>();
    state.managerCreated = true;
    registerExitHookOnce();
  }
  return *state.manager;
}

Initialize_forIZepInetFileTransfer Initialize_forIZepInetFileTransfer::DefaultValues() {
  Initialize_forIZepInetFileTransfer values;
  values.parentWindow = Msg2usr_GetWnd();
  return values;
}

}  // namespace Quorvel::FileAccess
