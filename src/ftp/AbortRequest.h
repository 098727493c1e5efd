// The user's wish to end all transfers of this process. Any thread, and signal handlers.
#pragma once

namespace Quorvel::FileAccess {

void requestAbort(bool abort);
bool isAbortRequested();

}  // namespace Quorvel::FileAccess
