// Whether anything of the open project may go to the store at all. Asked before something is tried: the library meets
// such a refusal with a question that nothing but waiting answers.
#pragma once

#include <string>

namespace workstation::program {

class Context;

struct SendBarrier {
  std::wstring reason;    ///< empty: this user may send and delete
  bool isLocked = false;  ///< somebody else holds the project's lock
};

SendBarrier sendBarrier(Context& context);

}  // namespace workstation::program
