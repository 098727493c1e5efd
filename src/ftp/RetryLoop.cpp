#include "ftp/RetryLoop.h"

#include "ftp/RetrySettings.h"

namespace Quorvel::FileAccess {

RemoteStatus runWithRetries(RemoteConfiguration& remote, const RetrySettings& settings,
                            std::initializer_list<RemoteStep> steps) {
  RemoteRetryContext context;
  context.logErrors = settings.logErrors;
  context.interactive = settings.interactive;
  context.retriesLeft = settings.retries;
  context.retriesAllowed = settings.retries;
  for (;;) {
    if (context.retriesLeft < context.retriesAllowed && !context.reconnected) {
      context.reconnected = true;
      remote.closeConnection();
    }
    RemoteStatus status = remote.enableConnection(context);
    for (const RemoteStep& step : steps) {
      if (status.retry || status.failed || status.finished) break;
      status = step(context);
    }
    if (!status.retry || status.failed || status.finished) return status;
  }
}

}  // namespace Quorvel::FileAccess
