// Names and contents of lock files, which any client of the store may have written.

#include "ftp/LockContent.h"
#include "fuzz/Support.h"
#include "platform/Text.h"
#include "workstation/objects/LockNames.h"
#include "workstation/objects/LockText.h"

using namespace workstation;
using namespace Quorvel::FileAccess;
using fuzz::require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::textOf(data, size);
  const std::wstring text = lockTextOf(bytes);
  require(text.size() <= kLongestLockText && lockTextOf(lockContentOf(text)) == text,
          "a text is read as it was written");
  const std::wstring made = makeLockText(parseLockText(text));
  require(makeLockText(parseLockText(made)) == made, "a lock's parts are read as they were written");
  const std::wstring name = platform::fromUtf8(bytes);
  lockBaseNameOf(name);
  const auto lock = parseLockName(name);
  if (!lock) return 0;
  require(isLockFileName(name), "a lock's name has its ending");
  const auto again = parseLockName(lockFileName(*lock));
  require(again && lockFileName(*again) == lockFileName(*lock), "a name is read as it was written");
  require(again->number == lock->number && again->userNumber == lock->userNumber, "a name keeps object and user");
  return 0;
}
