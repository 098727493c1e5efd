// Deleting on the server what was removed here.
#pragma once

#include "background/BackgroundFile.h"

namespace Quorvel::FileAccess {

/// Begins the deletion of a file on a thread of its own.
void startDeletion(const BackgroundFile& file);

}  // namespace Quorvel::FileAccess
