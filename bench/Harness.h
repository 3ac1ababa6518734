/// @file
/// How a figure comes about, and where rows of the table are added.
///
/// A row compares a subject with a baseline. Both run in short blocks, by turns, on one processor, with a
/// second thread alive; the figure is the median of the ratios of the blocks, the best of up to three
/// attempts. Each row has a process of its own, so the engine, its threads and the heap are fresh in each.
///
/// To add a row, write it in a source of its own in this folder; nothing else needs to know of it:
///
/// @code
///   #include "bench/Harness.h"
///
///   bench::Figure unwantedFrame() {
///       Registry registry(3);  // made in the row's own process
///       return bench::compareInterleaved(
///           bench::wallBlock(1000, [&] { recvCanMsg(0, 0, 0, 0x7FF, 8, kData); }),
///           bench::wallBlock(1000, [&] { benchmark::DoNotOptimize(registry.lookUp(0x7FF)); }));
///   }
///
///   [[maybe_unused]] const bool kAdded = bench::addRow({"P1", "recvCanMsg, frame nobody wants, 3
///   identifiers",
///                                      "look-up under a mutex", "ns", bench::atMost(2.0), unwantedFrame});
/// @endcode
///
/// A row that needs no baseline returns `bench::measured(value)`; its value is judged itself. A row that
/// finds something wrong (a lost value, a wrong count) returns `bench::failed(text)` and is not met, however
/// fast.
#pragma once

#include "bench/Clock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// What the judged value of a row must keep.
struct Goal {
    enum class Kind { AtMost, AtLeast };
    Kind kind = Kind::AtMost;
    double limit = 0.0;
};

constexpr Goal atMost(double limit) {
    return {Goal::Kind::AtMost, limit};
}
constexpr Goal atLeast(double limit) {
    return {Goal::Kind::AtLeast, limit};
}

/// What one attempt of a row brought.
struct Figure {
    double subject = 0.0;            ///< in the row's unit
    std::optional<double> baseline;  ///< in the row's unit; nothing if the row has none
    double value = 0.0;              ///< judged against the goal: the ratio, or the subject itself
    std::string failure;             ///< what was wrong beside the speed; empty if nothing was
};

/// The processors that the process of a row may use.
enum class Processors {
    One,  ///< all its threads on the same one: rows of one thread, and of two that wake each other
    All,  ///< wherever the system puts them: rows of many threads
};

/// One line of the table.
struct Row {
    std::string id;        ///< "P1"; several lines may share it
    std::string subject;   ///< what is measured
    std::string baseline;  ///< what it is compared with; empty if with nothing
    std::string unit;      ///< of both figures, as "ns"
    Goal goal;
    std::function<Figure()> measure;  ///< one attempt
    Processors processors = Processors::One;
};

/// A row and what became of it.
struct Result {
    Figure figure;
    bool met = false;
};

/// Adds a row to the table. Meant for the initialiser of a constant of a source of rows.
/// @return true
bool addRow(Row row);

/// All rows, by the number in their id; rows with the same id in the order in which they were added.
std::vector<Row> rows();

/// Runs one block of work. @return its cost, in the row's unit, for one operation
using Block = std::function<double()>;

/// A block of @p operations calls of @p once; its cost is nanoseconds of real time for one call.
template <typename Function>
Block wallBlock(std::size_t operations, Function once) {
    return [operations, once = std::move(once)]() mutable {
        const std::uint64_t begin = wallNs();
        for (std::size_t i = 0; i < operations; ++i) {
            once();
        }
        return static_cast<double>(wallNs() - begin) / static_cast<double>(operations);
    };
}

/// As `wallBlock`, in nanoseconds of the calling thread's own processor time.
template <typename Function>
Block processorBlock(std::size_t operations, Function once) {
    return [operations, once = std::move(once)]() mutable {
        const std::uint64_t begin = threadNs();
        for (std::size_t i = 0; i < operations; ++i) {
            once();
        }
        return static_cast<double>(threadNs() - begin) / static_cast<double>(operations);
    };
}

/// Fewest blocks of a comparison.
inline constexpr std::size_t kBlocks = 21;

/// Runs both sides once unmeasured, then @p blocks times by turns, each going first every other time.
/// @param blocks  fewer than `kBlocks` count as `kBlocks`
/// @return medians of both sides, and as value the median of the ratios of the pairs
Figure compareInterleaved(const Block& subject, const Block& baseline, std::size_t blocks = kBlocks);

/// A figure without a baseline.
Figure measured(double value);

/// A figure of a subject and a baseline that were not measured in blocks.
Figure compared(double subject, double baseline);

/// The end of an attempt that found something wrong.
Figure failed(std::string text);

/// @return the middle value, or the mean of the two in the middle; 0 for no values
double median(std::vector<double> values);

/// @return true if @p figure has no failure and a finite value that keeps @p goal
bool isMet(const Figure& figure, const Goal& goal);

/// Attempts of a row that is not met.
inline constexpr int kAttempts = 3;

/// Measures a row up to `kAttempts` times, ends with the first attempt that is met or that failed.
/// @return the best attempt, or the failed one
Result measureRow(const Row& row);

}  // namespace bench
