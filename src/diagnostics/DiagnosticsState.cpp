#include "diagnostics/DiagnosticsState.h"

namespace Quorvel::FileAccess::ConnectionLogger {

DiagnosticsState& diagnosticsState() {
  // Never destroyed: threads that outlive the exit hooks still trace.
  static auto& state = *new DiagnosticsState;
  return state;
}

}  // namespace Quorvel::FileAccess::ConnectionLogger
