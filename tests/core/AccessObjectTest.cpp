#include "core/AccessObject.h"

#include <gtest/gtest.h>

namespace {

using namespace Quorvel::FileAccess;

class NotedAccess : public WGOAccess {
 public:
  explicit NotedAccess(IWGOAccess*& inPlaceAtEnd) : inPlaceAtEnd_(inPlaceAtEnd) {}
  ~NotedAccess() override { inPlaceAtEnd_ = currentWGOAccess(); }
  NotedAccess(const NotedAccess&) = delete;
  NotedAccess& operator=(const NotedAccess&) = delete;

 private:
  IWGOAccess*& inPlaceAtEnd_;
};

TEST(AccessObject, TheOldOneEndsWhenTheNewOneIsInPlace) {
  IWGOAccess* inPlaceAtEnd = nullptr;
  SetWGOAccess(std::make_unique<NotedAccess>(inPlaceAtEnd));
  auto next = CreateWGOAccess();
  IWGOAccess* const expected = next.get();
  SetWGOAccess(std::move(next));
  EXPECT_EQ(inPlaceAtEnd, expected);
  EXPECT_EQ(currentWGOAccess(), expected);
}

}  // namespace
