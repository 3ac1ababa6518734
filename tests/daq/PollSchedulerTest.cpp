#include "daq/PollScheduler.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

namespace {

using daq_test::copied;
using daq_test::text;
using daq_test::variable;

constexpr std::int64_t kMs = 1'000'000;

/// A scheduler whose clock the test turns and whose reads it sees.
class PollSchedulerTest : public testing::Test {
protected:
    /// Ticks at @p ms; tells the names read, in order.
    std::string readAt(std::int64_t ms) {
        m_nowNs = ms * kMs;
        m_read.clear();
        m_hasRead = m_scheduler.tick();
        return text(m_read);
    }

    std::int32_t read(const mcMeasureVariable& one, mcMeasureVariableValue& value) {
        m_read.push_back(one.name);
        value.name = one.name;
        value.time = static_cast<std::uint64_t>(m_nowNs);
        value.data = {static_cast<std::uint8_t>(one.size)};
        return m_refused.count(one.name) != 0 ? 19 : 0;
    }

    std::int64_t m_nowNs = 0;
    int m_clockReads = 0;
    bool m_hasRead = false;
    std::list<std::string> m_read;
    std::set<std::string> m_refused;
    PollScheduler m_scheduler{[this](const auto& one, auto& value) { return read(one, value); },
                              [this] {
                                  ++m_clockReads;
                                  return m_nowNs;
                              }};
};

TEST_F(PollSchedulerTest, GroupsByPeriodInTheOrderOfInsertion) {
    m_scheduler.assign({variable("b", 1, 0, 20), variable("c", 1, 0, 10), variable("a", 1, 0, 20)});
    ASSERT_EQ(m_scheduler.m_groups.size(), 2U);
    ASSERT_EQ(m_scheduler.m_groups[20].variables.size(), 2U);
    EXPECT_EQ(readAt(0), "c b a");
    EXPECT_TRUE(m_hasRead);
}

TEST_F(PollSchedulerTest, AVariableWithoutAPeriodIsPolledEveryThousandMilliseconds) {
    m_scheduler.assign({variable("a", 1)});
    ASSERT_EQ(m_scheduler.m_groups.count(1000), 1U);
    EXPECT_EQ(copied(m_scheduler.m_groups[1000].variables.front().period), 1000);
    EXPECT_EQ(readAt(0), "a");
    EXPECT_EQ(readAt(999), "");
    EXPECT_EQ(readAt(1000), "a");
}

TEST_F(PollSchedulerTest, AGroupWithATimeOfItsLastRunIsDueAPeriodBehindIt) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    m_scheduler.m_groups[10].lastRun = 5 * kMs;
    EXPECT_EQ(readAt(14), "");
    EXPECT_EQ(readAt(15), "a");
}

TEST_F(PollSchedulerTest, ANewGroupIsDueOnTheFirstTickWhateverTheClockSays) {
    for (const std::int64_t ms :
         {std::int64_t{-5000}, std::int64_t{0}, std::int64_t{3}, std::int64_t{1} << 40}) {
        m_scheduler.assign({variable("a", 1, 0, 60000)});
        EXPECT_EQ(m_scheduler.m_groups[60000].lastRun, 0);
        EXPECT_EQ(readAt(ms), "a") << ms;
        EXPECT_EQ(m_scheduler.m_groups[60000].lastRun, ms * kMs);
    }
}

TEST_F(PollSchedulerTest, TwoTicksOneMillisecondApartFireAPeriodOfTenOnce) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    EXPECT_EQ(readAt(100), "a");
    EXPECT_EQ(readAt(101), "");
    EXPECT_FALSE(m_hasRead);
    EXPECT_EQ(readAt(110), "a");
}

TEST_F(PollSchedulerTest, ElapsedTimeIsCutToWholeMilliseconds) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    readAt(0);
    m_nowNs = 10 * kMs - 1;
    EXPECT_FALSE(m_scheduler.tick());
    m_nowNs = 10 * kMs;
    EXPECT_TRUE(m_scheduler.tick());
}

TEST_F(PollSchedulerTest, DoesNotCatchUpMissedPeriodsButCountsFromTheLateTick) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    readAt(0);
    EXPECT_EQ(readAt(55), "a");
    EXPECT_EQ(readAt(60), "");
    EXPECT_EQ(readAt(65), "a");
}

TEST_F(PollSchedulerTest, GroupsRunByTheirOwnPeriods) {
    m_scheduler.assign({variable("fast", 1, 0, 10), variable("slow", 1, 0, 25)});
    EXPECT_EQ(readAt(0), "fast slow");
    EXPECT_EQ(readAt(10), "fast");
    EXPECT_EQ(readAt(25), "fast slow");
}

TEST_F(PollSchedulerTest, AnEmptyTimetableDoesNotReadTheClock) {
    EXPECT_EQ(readAt(5), "");
    EXPECT_FALSE(m_hasRead);
    EXPECT_EQ(m_clockReads, 0);
}

TEST_F(PollSchedulerTest, ReadsTheClockOnceForAllGroups) {
    m_scheduler.assign({variable("a", 1, 0, 10), variable("b", 1, 0, 20), variable("c", 1, 0, 30)});
    readAt(5);
    EXPECT_EQ(m_clockReads, 1);
}

TEST_F(PollSchedulerTest, CollectsValuesOfSuccessfulReadsOnly) {
    m_scheduler.assign({variable("a", 1, 0, 10), variable("bad", 2, 0, 10), variable("c", 3, 0, 10)});
    m_refused = {"bad"};
    EXPECT_EQ(readAt(0), "a bad c");
    EXPECT_TRUE(m_hasRead);
    EXPECT_EQ(text(m_scheduler.m_results), "a@0=1 c@0=3");
}

TEST_F(PollSchedulerTest, ResultsStayUntilTheyAreTakenAway) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    readAt(0);
    readAt(10);
    EXPECT_EQ(m_scheduler.m_results.size(), 2U);
}

TEST_F(PollSchedulerTest, ATickWhoseReadsAllFailedReturnsFalseAndStartsThePeriodAnew) {
    m_scheduler.assign({variable("bad", 2, 0, 10)});
    m_refused = {"bad"};
    EXPECT_EQ(readAt(7), "bad");
    EXPECT_FALSE(m_hasRead);
    EXPECT_EQ(m_scheduler.m_groups[10].lastRun, 7 * kMs);
    EXPECT_EQ(readAt(16), "");
    EXPECT_TRUE(m_scheduler.m_results.empty());
}

TEST_F(PollSchedulerTest, AddTakesNameAddressBlockAndPeriodAndLeavesTheRestZero) {
    DaqOdtEntry entry = daq_test::entry("a", 3, 5, 2);
    entry.type = 8;
    entry.addressExtension = 4;
    entry.address = 0x2000;
    m_scheduler.add("a", entry, 40);
    ASSERT_EQ(m_scheduler.m_groups.count(40), 1U);
    const mcMeasureVariable& added = m_scheduler.m_groups[40].variables.front();
    EXPECT_EQ(added.name, "a");
    EXPECT_EQ(added.type, 8);
    EXPECT_EQ(copied(added.size), 2U);
    EXPECT_EQ(added.addressExtension, 4);
    EXPECT_EQ(copied(added.address), 0x2000U);
    EXPECT_EQ(copied(added.period), 40);
    EXPECT_EQ(copied(added.event), 0);
    EXPECT_EQ(added.fragment, 0);
}

TEST_F(PollSchedulerTest, AddLooksAtTheLowSixteenBitsOfThePeriodAlone) {
    m_scheduler.add("a", {}, 0);
    m_scheduler.add("b", {}, 0x10000);
    m_scheduler.add("c", {}, 0x10005);
    EXPECT_EQ(m_scheduler.m_groups[1000].variables.size(), 2U);
    EXPECT_EQ(copied(m_scheduler.m_groups[1000].variables.back().period), 1000);
    EXPECT_EQ(m_scheduler.m_groups[5].variables.size(), 1U);
}

TEST_F(PollSchedulerTest, AddJoinsAnExistingGroup) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    readAt(0);
    m_scheduler.add("b", {}, 10);
    EXPECT_EQ(readAt(5), "");
    EXPECT_EQ(readAt(10), "a b");
}

TEST_F(PollSchedulerTest, AssignReplacesTheTimetable) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    readAt(0);
    m_scheduler.assign({variable("b", 1, 0, 10)});
    EXPECT_EQ(readAt(1), "b");
}

TEST_F(PollSchedulerTest, ClearEmptiesTheTimetableAndKeepsTheResults) {
    m_scheduler.assign({variable("a", 1, 0, 10)});
    readAt(0);
    m_scheduler.clear();
    EXPECT_TRUE(m_scheduler.m_groups.empty());
    EXPECT_EQ(readAt(100), "");
    EXPECT_EQ(m_scheduler.m_results.size(), 1U);
}

TEST(PollScheduler, TheReaderMayChangeTheTimetable) {
    PollScheduler* self = nullptr;
    PollScheduler scheduler([&](const mcMeasureVariable&, mcMeasureVariableValue&) {
        self->add("late", {}, 10);
        self->clear();
        return 0;
    });
    self = &scheduler;
    scheduler.assign({variable("a", 1, 0, 10), variable("b", 1, 0, 10)});
    EXPECT_TRUE(scheduler.tick());
    EXPECT_EQ(scheduler.m_results.size(), 2U);
    EXPECT_TRUE(scheduler.m_groups.empty());
}

TEST(PollScheduler, TakesTheSteadyClockByDefault) {
    PollScheduler scheduler([](const mcMeasureVariable&, mcMeasureVariableValue&) { return 0; });
    scheduler.assign({variable("a", 1, 0, 60000)});
    EXPECT_TRUE(scheduler.tick());
    const std::int64_t first = scheduler.m_groups[60000].lastRun;
    EXPECT_GT(first, 0);
    EXPECT_FALSE(scheduler.tick());
    EXPECT_EQ(scheduler.m_groups[60000].lastRun, first);
}

TEST(PollScheduler, CanBeChangedWhileAnotherThreadTicks) {
    std::int64_t nowNs = 0;
    PollScheduler scheduler([](const mcMeasureVariable&, mcMeasureVariableValue&) { return 0; },
                            [&nowNs] { return nowNs += kMs; });
    std::atomic<bool> isChanging = true;
    std::thread changing([&] {
        for (int round = 0; round < 2000; ++round) {
            scheduler.assign({variable("a", 1, 0, 1), variable("b", 1, 0, 2)});
            scheduler.add("c", {}, 3);
            scheduler.clear();
        }
        scheduler.add("last", {}, 1);
        isChanging = false;
    });
    while (isChanging) {
        scheduler.tick();
    }
    changing.join();
    scheduler.m_results.clear();
    EXPECT_TRUE(scheduler.tick());
    EXPECT_EQ(scheduler.m_results.size(), 1U);
}

}  // namespace
