#include <tbb/concurrent_hash_map.h>

#include <vector>

#include "background/ThreadedList.h"
#include "zephor/HeaderServices.h"

namespace Quorvel::FileAccess {
namespace Threading {
namespace {

/// Reads headers from the server, into a map that all threads fill. One that can't be read is left out.
class ThreadedReadHeader : private ThreadedList {
 public:
  ThreadedReadHeader() : ThreadedList({threads(), nullptr, nullptr}) {}

  void read(const std::set<int>& numbers, std::map<int, PlanHeader>& headers) {
    const std::vector<int> list(numbers.begin(), numbers.end());
    run(
        list.size(), [&](std::size_t index) { return readOne(list[index]); }, [&] { ThreadFunc(list.size()); },
        nullptr);
    for (const auto& [number, header] : found_) headers.emplace(number, header);
  }

 private:
  static int threads() {
    static const int kThreads = allowedThreads();
    return kThreads;
  }

  void ThreadFunc(std::size_t count) { shareOut().ranges(count, *this); }

  DWORD readOne(int number) {
    PlanHeader header{};
    if (!WGO_getPLHeaderFromOnlineServer(static_cast<unsigned>(number), &header)) return 0;
    FoundHeaders::accessor place;
    found_.insert(place, number);
    place->second = header;
    return 0;
  }

  using FoundHeaders = tbb::concurrent_hash_map<int, PlanHeader>;
  FoundHeaders found_;
};

}  // namespace
}  // namespace Threading

void WGO_GetPLHeadersFromOnlineServer(const std::set<int>& numbers, std::map<int, PlanHeader>& headers) {
  headers.clear();
  Threading::ThreadedReadHeader().read(numbers, headers);
}

}  // namespace Quorvel::FileAccess
