// Small pictures for states and locks, drawn here; each has a shape of its own, and stands beside its word.
#pragma once

#include <QIcon>

#include "workstation/desktop/window/StatusLines.h"

namespace workstation {

QIcon stateIcon(RowState state);
/// A padlock.
QIcon lockIcon(bool isYours);

}  // namespace workstation
