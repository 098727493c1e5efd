#include "host/Project.h"
#include "zephor/Archives.h"

namespace Quorvel::FileAccess {

bool WGO_isProjectCompressed() {
  const PRJ active = get_ActivePrj();
  return active.directoryName[0] != L'\0' && active.IsCompressedProject();
}

}  // namespace Quorvel::FileAccess
