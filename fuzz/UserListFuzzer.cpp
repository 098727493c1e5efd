// "user.cfg", the users of a project.

#include <algorithm>
#include <vector>

#include "fuzz/Support.h"
#include "host/Users.h"

namespace {

bool isSame(const QuorvelUser& a, const QuorvelUser& b) {
  const auto same = [](const auto& x, const auto& y) { return std::equal(std::begin(x), std::end(x), std::begin(y)); };
  return a.number == b.number && a.flags == b.flags && same(a.loginName, b.loginName) && same(a.hostName, b.hostName) &&
         same(a.firstName, b.firstName) && same(a.lastName, b.lastName) && same(a.email, b.email) &&
         same(a.uuid, b.uuid);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::fileOf(fuzz::textOf(data, size), "user.cfg");
  std::vector<QuorvelUser> users;
  std::vector<QuorvelUser> again;
  if (lzReadAllUsers_fromPath_toVector(fuzz::directory(), users) != 0) {
    fuzz::require(users.empty(), "a refused list has no users");
    return 0;
  }
  fuzz::require(lzWriteAllUsers_fromVector_to_Path(users, fuzz::directory()) == 0 &&
                    lzReadAllUsers_fromPath_toVector(fuzz::directory(), again) == 0 &&
                    std::ranges::equal(users, again, isSame),
                "a list is read as it was written");
  return 0;
}
