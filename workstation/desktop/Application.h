// The one application object of the windows, made only where it is sure to come up.
#pragma once

#include <QApplication>
#include <memory>
#include <string>

namespace workstation {

/// @return false when the display can't be used; `error` then says why
bool isDisplayUsable(std::string& error);

/// Makes it on the calling thread, which from then on is that of all windows. The toolkit ends the process when it
/// finds no display; so the display is tried before. The process keeps its locale.
/// @return null when the display can't be used; `error` then says why
std::unique_ptr<QApplication> makeApplication(std::string& error);

/// Standard texts of the toolkit in the language in use, as far as they are installed. On the thread of the windows,
/// before a window is made.
void followLanguage();

}  // namespace workstation
