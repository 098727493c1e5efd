// The same work on many items, on as many threads as the machine has cores, but few: for reading, hashing and writing
// contents.
#pragma once

#include <cstddef>
#include <functional>

namespace workstation {

/// Runs `work` for each of `count` items, in their order but several at a time. The calling thread waits and is told,
/// by `progress`, how many are done. Begins no other item once one has thrown a StoreError; the first of them is thrown
/// when all threads have ended.
void workInParallel(std::size_t count, const std::function<void(std::size_t item)>& work,
                    const std::function<void(std::size_t done)>& progress);

}  // namespace workstation
