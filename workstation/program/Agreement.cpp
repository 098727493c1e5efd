#include "workstation/program/Agreement.h"

#include "platform/UserInterface.h"
#include "workstation/ui/BoxButtons.h"

namespace workstation::program {

bool agrees(const std::wstring& question) {
  return platform::userInterface().messageBox({nullptr, question, L"zephor", MB_YESNO | kDefaultButton2, {}, {}}) ==
         IDYES;
}

}  // namespace workstation::program
