#include "tests/support/Trial.h"

#include <chrono>
#include <iostream>

namespace support {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kTurn{1};

}  // namespace

StallWatch::StallWatch(milliseconds most) : m_most(most), m_thread([this] { watch(); }) {}

StallWatch::~StallWatch() {
    m_end = true;
    m_thread.join();
}

void StallWatch::watch() {
    while (!m_end) {
        const Clock::time_point begin = Clock::now();
        std::this_thread::sleep_for(kTurn);
        if (Clock::now() - begin > kTurn + m_most) {
            m_stalled = true;
        }
    }
}

void Trial::tell() {
    m_reporter.reset();
    for (int i = 0; i < m_results.size(); ++i) {
        const testing::TestPartResult& result = m_results.GetTestPartResult(i);
        if (result.failed()) {
            ADD_FAILURE_AT(result.file_name() == nullptr ? "" : result.file_name(), result.line_number())
                << result.message();
        }
    }
}

void runTrials(const std::string& name, milliseconds stall, const std::function<void(Trial&)>& run) {
    constexpr int kMostTries = 20;
    for (int tries = 1;; ++tries) {
        Trial trial(stall);
        run(trial);
        if (!trial.failed() || !trial.stalled() || tries == kMostTries) {
            trial.tell();
            return;
        }
        std::cout << name << " runs again: the machine stood still\n";
    }
}

void Trial::Reporter::ReportTestPartResult(const testing::TestPartResult& result) {
    ScopedFakeTestPartResultReporter::ReportTestPartResult(result);
    if (result.failed()) {
        m_failed = true;
    }
}

}  // namespace support
