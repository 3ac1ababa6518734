// Every operation against every fault, at its first frame, one in the middle and its last one. What the host
// is told and what goes out are held against rules of their own, see FaultMatrixRules.h.
//
// A failure names its case and how to run it alone:
//     TALVEX_FAULT_CASE='silence once@3' talvex_system_tests --gtest_filter=Xcp/FaultMatrix.*/Upload
#include "tests/support/TestHost.h"
#include "tests/support/ThreadCount.h"
#include "tests/system/FaultMatrixEcu.h"
#include "tests/system/FaultMatrixRules.h"

#include <TalvexSDK.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace systemtest {
namespace {

using support::waitFor;
using Journal = std::vector<std::string>;
using Codes = std::vector<std::uint8_t>;

/// Nothing that comes is waited for, so the time-out of commands that get no answer can be short.
constexpr std::uint16_t kShortMs = 4;
/// Out of reach, where answers come from another thread.
constexpr std::uint16_t kLongMs = 60'000;
constexpr std::size_t kMostFailures = 3;  ///< of one operation; what follows would say the same
constexpr const char* kCaseVariable = "TALVEX_FAULT_CASE";

bool beginsWith(const std::string& text, const std::string& head) {
    return text.compare(0, head.size(), head) == 0;
}

/// Lines, results and memory calls, as they came.
bool isTold(const std::string& entry) {
    return beginsWith(entry, "log ") || beginsWith(entry, "task ") || beginsWith(entry, "mem ");
}

/// Warnings and errors.
bool isTrouble(const std::string& entry) {
    return beginsWith(entry, "log 3 ") || beginsWith(entry, "log 4 ");
}

template <typename Predicate>
Journal onlySuch(const Journal& journal, Predicate predicate) {
    Journal kept;
    std::copy_if(journal.begin(), journal.end(), std::back_inserter(kept), predicate);
    return kept;
}

Journal first(Journal journal, std::size_t count) {
    journal.resize(std::min(journal.size(), count));
    return journal;
}

std::size_t results(const Journal& journal) {
    return onlySuch(journal, [](const std::string& entry) { return beginsWith(entry, "task "); }).size();
}

/// The polling thread tells that a link is lost while the worker may still tell of the start.
Journal withLossLast(Journal journal) {
    std::stable_partition(journal.begin(), journal.end(), [](const std::string& entry) {
        return entry.find("ecu:ecu-") == std::string::npos;
    });
    return journal;
}

std::int32_t makeKey(std::uint8_t /*privilege*/, std::uint8_t /*seedLength*/, const std::uint8_t* /*seed*/,
                     std::uint8_t* keyLength, std::uint8_t* key) {
    *keyLength = 2;
    key[0] = 0xAB;
    key[1] = 0xCD;
    return 1;
}

struct Case {
    Fault fault;
    std::size_t frame;

    [[nodiscard]] std::string name() const { return fault.name + "@" + std::to_string(frame); }
};

class FaultMatrix : public testing::TestWithParam<std::tuple<Protocol, std::string>> {
protected:
    void SetUp() override {
        ASSERT_NE(m_operation, nullptr);
        m_host.setSeedFun(makeKey);
        support::TestHost::install();
    }

    /// @return the cases of the operation; the one that the environment asks for may be at any of its frames
    [[nodiscard]] std::vector<Case> cases() const {
        const char* wanted = std::getenv(kCaseVariable);
        std::vector<Case> made;
        for (const Fault& fault : faultsOf(m_protocol)) {
            for (const std::size_t frame : frames(wanted != nullptr)) {
                const Case next{fault, frame};
                if (wanted == nullptr || next.name() == wanted) {
                    made.push_back(next);
                }
            }
        }
        return made;
    }

    /// @return all frames of the operation, or its first, a middle and its last one
    [[nodiscard]] std::set<std::size_t> frames(bool all) const {
        Reckoning flawless(m_protocol, Fault{}, 0);
        m_operation->reckon(flawless);
        const std::size_t begin = flawless.firstFrame();
        const std::size_t end = flawless.lastFrame();
        std::set<std::size_t> made{begin, (begin + end) / 2, end};
        for (std::size_t frame = begin; all && frame < end; ++frame) {
            made.insert(frame);
        }
        return made;
    }

    void runAll() {
        const std::vector<Case> all = cases();
        if (all.empty()) {
            GTEST_SKIP() << "no case " << std::getenv(kCaseVariable);
        }
        runOne({Fault{"no fault"}, 0});
        const std::size_t threads = support::threadCount();
        std::size_t failures = 0;
        for (const Case& one : all) {
            if (HasFailure() && ++failures > kMostFailures) {
                break;
            }
            runOne(one);
        }
        EXPECT_TRUE(waitFor([threads] { return support::threadCount() == threads; }))
            << support::threadCount() << " threads instead of " << threads;
    }

private:
    void runOne(const Case& one) {
        SCOPED_TRACE("again: " + std::string(kCaseVariable) + "='" + one.name() +
                     "' talvex_system_tests --gtest_filter=" + testName());
        isReady(one);
        if (m_operation->name == "Poll") {
            polls(one);
        } else {
            runs(one);
        }
        isThereAgain();
    }

    [[nodiscard]] static std::string testName() {
        const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
        return std::string(info->test_suite_name()) + "." + info->name();
    }

    /// Configured, and connected or measuring as the operation needs it.
    void isReady(const Case& one) {
        EcuProtoCfg cfg = matrixConfig(m_protocol, one.fault.kind == FaultKind::slow ? kLongMs : kShortMs);
        if (m_operation->configure != nullptr) {
            m_operation->configure(cfg);
        }
        setProtoCfgs({cfg});
        m_ecu.heal();
        m_host.clear();
        if (m_operation->before != Before::nothing) {
            EcuConnect({kMatrixEcu});
            EXPECT_TRUE(comes("task 1 0 "));
        }
        if (m_operation->before == Before::measuring) {
            askStart(m_protocol);
            EXPECT_TRUE(comes("task 5 0 "));
        }
        m_host.clear();
        m_ecu.arm(one.fault, one.frame, m_operation->pollsWith);
    }

    void runs(const Case& one) {
        Reckoning expected(m_protocol, one.fault, one.frame);
        expected.connected = m_operation->before != Before::nothing;
        m_operation->reckon(expected);
        m_operation->ask();
        const std::size_t count = results(expected.journal());
        EXPECT_TRUE(waitFor([&] { return results(m_host.journal()) >= count; }));
        EXPECT_THAT(withLossLast(onlySuch(m_host.journal(), isTold)),
                    testing::ElementsAreArray(withLossLast(expected.journal())));
        EXPECT_THAT(codes(), testing::ElementsAreArray(expected.codes()));
        isAsReckoned(expected);
    }

    /// Follows the polling for as long as the fault makes a difference, two rounds at most.
    void polls(const Case& one) {
        Reckoning expected(m_protocol, one.fault, one.frame);
        m_operation->reckon(expected);
        if (one.fault.times == Fault::kForever || one.fault.kind == FaultKind::reset) {
            if (!expected.looksLost()) {
                m_operation->reckon(expected);
            }
        }
        const Journal& trouble = expected.journal();
        m_operation->ask();
        EXPECT_TRUE(waitFor([&] {
            return m_ecu.codes().size() >= expected.codes().size() &&
                   onlySuch(m_host.journal(), isTrouble).size() >= trouble.size();
        }));
        EXPECT_THAT(first(onlySuch(m_host.journal(), isTrouble), trouble.size()),
                    testing::ElementsAreArray(trouble));
        Codes sent = m_ecu.codes();
        sent.resize(std::min(sent.size(), expected.codes().size()));
        EXPECT_THAT(sent, testing::ElementsAreArray(expected.codes()));
        expected.measuring = true;
        if (expected.looksLost()) {
            isLost(expected);
        } else {
            goesOn(expected);
        }
    }

    void isLost(Reckoning& expected) {
        EXPECT_TRUE(comes("task 3 0 [ecu:ecu-" + expected.statusText() + "]"));
        EXPECT_TRUE(comes("task 2 0 [Disconnect success, ]"));
        expected.connected = false;
        expected.measuring = false;
        isAsReckoned(expected);
    }

    /// Values come again, unless the link is lost and nobody notices: CCP does not send any more after a
    /// command that succeeded with its repeat, and its status is then that of the success.
    void goesOn(const Reckoning& expected) {
        m_ecu.heal();
        m_host.clear();
        const auto hasValues = [this] {
            const std::vector<support::Measured> measured = m_host.measured();
            return std::any_of(measured.begin(), measured.end(),
                               [](const support::Measured& round) { return round.values.size() == 2; });
        };
        EXPECT_TRUE(expected.linkLost() || waitFor(hasValues)) << "no values come any more";
        isAsReckoned(expected);
    }

    /// The state that a host can ask for, and whether a command still goes out.
    void isAsReckoned(const Reckoning& expected) {
        EXPECT_EQ(isConnectEcu(), expected.connected);
        EXPECT_EQ(isEcuConnect(kMatrixEcu), expected.connected);
        EXPECT_EQ(isMeasureing(), expected.measuring);
        m_ecu.heal();
        m_host.clear();
        if (!expected.connected) {
            return;
        }
        SetCalPage(kMatrixEcu, true);
        const std::string failure = m_protocol == Protocol::xcp ? "23" : "37";
        EXPECT_TRUE(comes("task 9 " + (expected.linkLost() ? failure : std::string("0")) + " "));
        const Codes sent = codes();
        const std::uint8_t select = m_protocol == Protocol::xcp ? 0xEB : 0x11;
        EXPECT_EQ(std::count(sent.begin(), sent.end(), select), expected.linkLost() ? 0 : 1);
    }

    /// Worker and ECU are there: the measurement can be stopped, the ECU connected and disconnected.
    void isThereAgain() {
        m_ecu.heal();
        m_host.clear();
        if (isMeasureing()) {
            StopMeasurement();
            EXPECT_TRUE(comes("task 6 0 "));
        }
        EcuConnect({kMatrixEcu});
        EXPECT_TRUE(comes("task 1 0 "));
        EcuDisconnect();
        EXPECT_TRUE(comes("task 2 0 "));
        EXPECT_FALSE(isConnectEcu());
    }

    /// Waits for an entry of the journal that begins with @p head.
    testing::AssertionResult comes(const std::string& head) {
        if (journalShows(head)) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure()
               << "no \"" << head << "\" in " << testing::PrintToString(onlySuch(m_host.journal(), isTold));
    }

    /// What was sent, without the polls of a measurement that goes on.
    [[nodiscard]] Codes codes() const {
        Codes sent = m_ecu.codes();
        if (m_operation->pollsWith != 0) {
            sent.erase(std::remove(sent.begin(), sent.end(), m_operation->pollsWith), sent.end());
        }
        return sent;
    }

    const Protocol m_protocol = std::get<0>(GetParam());
    const Operation* const m_operation = findOperation(m_protocol, std::get<1>(GetParam()));
    support::TestHost& m_host = matrixHost();
    FaultMatrixEcu m_ecu{m_protocol};
};

TEST_P(FaultMatrix, EveryFaultHasItsResultsItsLinesAndItsState) {
    runAll();
}

std::vector<std::string> namesOf(const std::vector<Operation>& operations) {
    std::vector<std::string> names;
    std::transform(operations.begin(), operations.end(), std::back_inserter(names),
                   [](const Operation& operation) { return operation.name; });
    return names;
}

std::string nameOf(const testing::TestParamInfo<FaultMatrix::ParamType>& info) {
    return std::get<1>(info.param);
}

INSTANTIATE_TEST_SUITE_P(Xcp, FaultMatrix,
                         testing::Combine(testing::Values(Protocol::xcp),
                                          testing::ValuesIn(namesOf(xcpOperations()))),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Ccp, FaultMatrix,
                         testing::Combine(testing::Values(Protocol::ccp),
                                          testing::ValuesIn(namesOf(ccpOperations()))),
                         nameOf);

}  // namespace
}  // namespace systemtest
