// Light or dark, as the desktop has it.
#pragma once

class QApplication;

namespace workstation {

/// The desktop's own style and colours, unless the environment variable ZEPHOR_STYLE asks for a plain "light" or "dark"
/// look, which is the same on every machine.
void applyStyle(QApplication& application);

}  // namespace workstation
