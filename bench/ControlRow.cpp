// The method held against itself: what is the same on both sides must come out equal. Where this row is not
// met the machine is too uneasy for the others to mean anything.

#include "bench/Harness.h"

#include <benchmark/benchmark.h>

#include <mutex>

namespace {

bench::Figure equalSides() {
    std::mutex mutex;
    int counter = 0;
    const auto once = [&] {
        const std::scoped_lock lock(mutex);
        benchmark::DoNotOptimize(++counter);
    };
    return bench::compareInterleaved(bench::wallBlock(20000, once), bench::wallBlock(20000, once));
}

[[maybe_unused]] const bool kAdded =
    bench::addRow({"P0", "lock and count", "the same", "ns", bench::atMost(1.1), equalSides});

}  // namespace
