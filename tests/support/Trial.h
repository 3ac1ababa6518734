/// @file
/// A run that may be thrown away: its failures are kept back until it is clear that the machine kept up.
#pragma once

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace support {

/// Looks every millisecond whether threads still come to their turn. An impatient host on a machine that
/// stood still for long gives up answers that were there in time, and nothing then follows from what it did.
class StallWatch {
public:
    /// @param most  by how much a turn may be late
    explicit StallWatch(std::chrono::milliseconds most);
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;
    ~StallWatch();

    /// Whether a turn came later than it may. Any thread.
    [[nodiscard]] bool stalled() const { return m_stalled; }

private:
    void watch();

    const std::chrono::milliseconds m_most;
    std::atomic<bool> m_end = false;
    std::atomic<bool> m_stalled = false;
    std::thread m_thread;  ///< last: it uses all of the above
};

/// Keeps the failures of all threads back until `tell`. There is one at a time.
class Trial {
public:
    /// @param stall  what the run does not stand from the machine
    explicit Trial(std::chrono::milliseconds stall) : m_watch(stall) {
        m_reporter.emplace(m_failed, m_results);
    }

    /// Any thread.
    [[nodiscard]] bool failed() const { return m_failed; }

    /// Whether the machine stood still so long that a failure means nothing.
    [[nodiscard]] bool stalled() const { return m_watch.stalled(); }

    /// Hands what was kept back to the test that runs, and keeps nothing back any more.
    void tell();

private:
    class Reporter : public testing::ScopedFakeTestPartResultReporter {
    public:
        Reporter(std::atomic<bool>& failed, testing::TestPartResultArray& results)
            : ScopedFakeTestPartResultReporter(INTERCEPT_ALL_THREADS, &results), m_failed(failed) {}

        /// GoogleTest calls it under a lock of its own.
        void ReportTestPartResult(const testing::TestPartResult& result) override;

    private:
        std::atomic<bool>& m_failed;
    };

    std::atomic<bool> m_failed = false;
    testing::TestPartResultArray m_results;
    StallWatch m_watch;
    std::optional<Reporter> m_reporter;
};

/// Runs @p run until it holds or fails on a machine that kept up, at most 20 times, and tells the failures of
/// the last time.
/// @param name   what the output says is run again
/// @param stall  as for `Trial`: a part of the lateness that the run allows, as a frame takes several threads
/// their turn each
void runTrials(const std::string& name, std::chrono::milliseconds stall,
               const std::function<void(Trial&)>& run);

}  // namespace support
