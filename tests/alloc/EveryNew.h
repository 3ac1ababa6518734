/// @file
/// Runs an operation again and again, and lets each `operator new` in it fail once.
#pragma once

#include "tests/alloc/FailingNew.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace alloc {

/// What became of one trial.
struct Trial {
    bool happened = false;  ///< an `operator new` failed
    bool threw = false;     ///< `std::bad_alloc` came out
    bool right = false;     ///< a result came out, the right one
    std::int64_t lost = 0;  ///< blocks that are left
};

/// @param show  makes a text of a result
template <typename Operation, typename Show>
Trial tryOnce(std::size_t number, Failing failing, Operation operation, Show show, const std::string& right) {
    Trial trial;
    const std::int64_t before = liveBlocks();
    {
        std::optional<decltype(operation())> result;
        const FailingNew failure(number, failing);
        try {
            result.emplace(operation());
        } catch (const std::bad_alloc&) {
            trial.threw = true;
        }
        FailingNew::disarm();
        trial.happened = FailingNew::happened();
        trial.right = result && show(*result) == right;
    }
    trial.lost = liveBlocks() - before;
    return trial;
}

/// Holds, for each k, that the operation whose k-th `operator new` fails throws `std::bad_alloc` or gives its
/// right result, leaves no block behind, and is right the next time.
/// @param operation  gives the same result each time
/// @return the number of `operator new` in the operation
template <typename Operation, typename Show>
std::size_t expectCleanAtEveryNew(Operation operation, Show show) {
    const std::string right = show(operation());
    std::size_t count = 0;
    for (const Failing failing : {Failing::once, Failing::fromThenOn}) {
        for (std::size_t number = 1; !testing::Test::HasFailure(); ++number) {
            SCOPED_TRACE(testing::Message()
                         << "new " << number << (failing == Failing::once ? "" : " and all behind"));
            const Trial trial = tryOnce(number, failing, operation, show, right);
            EXPECT_NE(trial.threw, trial.right)
                << (trial.threw ? "both" : "neither an exception nor the right result");
            EXPECT_EQ(trial.lost, 0) << "blocks are lost";
            if (!trial.happened) {
                EXPECT_TRUE(trial.right);
                count = number - 1;
                break;
            }
            EXPECT_EQ(show(operation()), right) << "the next time";
        }
    }
    return count;
}

}  // namespace alloc
