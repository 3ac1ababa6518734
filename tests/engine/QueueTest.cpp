#include "engine/ProtoThread.h"
#include "tests/engine/EngineTest.h"
#include "tests/support/ThreadCount.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

using engine_test::EngineTest;
using engine_test::Journal;
using support::threadCount;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

const char* const kFullLine = "log 3 Command queue full(100), dropping oldest command";

std::string number(std::size_t i) {
    return std::to_string(i);
}

class CommandQueue : public EngineTest {
protected:
    /// Keeps the worker inside a connect of "a" until `m_a.releases()`.
    void occupyWorker() {
        m_a.holdsBack();
        EcuConnect({"a"});
        ASSERT_TRUE(support::waitFor([this] { return m_a.count("ff 00") == 1; }));
        m_host.clear();
    }

    /// Queues @p count commands that log their number.
    static void queueNumbered(std::size_t first, std::size_t count) {
        for (std::size_t i = first; i < first + count; ++i) {
            MeasureVars(number(i), {});
        }
    }

    /// @return the numbers of the commands that ran, in their order
    Journal numbersRun() {
        Journal numbers;
        for (const std::string& line : m_host.logTexts(2)) {
            const std::string head = "Measure variables ecu(";
            if (line.compare(0, head.size(), head) == 0) {
                numbers.push_back(line.substr(head.size(), line.size() - head.size() - 1));
            }
        }
        return numbers;
    }

    static Journal numbers(std::size_t first, std::size_t last) {
        Journal made;
        for (std::size_t i = first; i <= last; ++i) {
            made.push_back(number(i));
        }
        return made;
    }
};

TEST_F(CommandQueue, OneHundredCommandsWaitWithoutALine) {
    occupyWorker();
    queueNumbered(1, 100);
    EXPECT_THAT(m_host.journal(), IsEmpty());
    m_a.releases();
    EXPECT_TRUE(support::waitFor([this] { return count("task 7 0") == 100; }));
    EXPECT_EQ(numbersRun(), numbers(1, 100));
}

TEST_F(CommandQueue, ACommandBehindOneHundredRemovesTheOldestAndTheLineNamesOneHundred) {
    occupyWorker();
    queueNumbered(1, 101);
    EXPECT_THAT(m_host.journal(), ElementsAre(kFullLine));
    m_a.releases();
    EXPECT_TRUE(support::waitFor([this] { return count("task 7 0") == 100; }));
    settles();
    EXPECT_EQ(numbersRun(), numbers(2, 101));
    EXPECT_EQ(count("task 7 "), 100U);
}

TEST_F(CommandQueue, EveryFurtherCommandRemovesOneMore) {
    occupyWorker();
    queueNumbered(1, 105);
    EXPECT_EQ(count(kFullLine), 5U);
    m_a.releases();
    EXPECT_TRUE(support::waitFor([this] { return count("task 7 0") == 100; }));
    EXPECT_EQ(numbersRun(), numbers(6, 105));
}

TEST_F(CommandQueue, TheFullLineIsWrittenOnTheThreadOfTheCommandFunction) {
    occupyWorker();
    std::thread::id writer;
    m_host.onEvent([&](const std::string& entry) {
        if (entry == kFullLine) {
            writer = std::this_thread::get_id();
        }
    });
    queueNumbered(1, 101);
    m_host.onEvent({});
    EXPECT_EQ(writer, std::this_thread::get_id());
}

TEST_F(CommandQueue, ALogFunctionMayAskTheEngineWhileTheQueueIsFull) {
    occupyWorker();
    int answers = 0;
    m_host.onEvent([&](const std::string& entry) {
        if (entry == kFullLine) {
            answers += !isConnectEcu() && !isMeasureing() && !isEcuConnect("a") && getProtoCfg().size() == 2;
        }
    });
    queueNumbered(1, 101);
    m_host.onEvent({});
    EXPECT_EQ(answers, 1);
}

TEST_F(CommandQueue, CommandsRunInTheirOrderAndOneAtATime) {
    occupyWorker();
    queueNumbered(1, 3);
    EarseEcu("x", 0);
    EcuCopyRefeToWork("y");
    EXPECT_THAT(m_host.taskResults(), IsEmpty());
    m_a.releases();
    ASSERT_TRUE(shows("task 18"));
    std::vector<std::uint32_t> order;
    for (const support::TaskResult& result : m_host.taskResults()) {
        order.push_back(result.command);
    }
    EXPECT_THAT(order, ElementsAre(1U, 7U, 7U, 7U, 9U, 18U));
}

TEST_F(CommandQueue, OneCommandEndsBeforeTheNextBegins) {
    connected({"a", "b"});
    const Journal journal = journalOf(9, [] {
        MeasureVars("x", {});
        EcuCopyRefeToWork("y");
        SetCalPage("z", true);
    });
    EXPECT_THAT(
        journal,
        ElementsAre("log 2 Measure variables ecu(x)", "log 1 Task cmd result:(0) Measurement vars success;;",
                    "task 7 0 [Measurement vars success, ]",
                    "log 2 Copy reference cal page to working cal page ecu(y)", "log 3 Can't find task ecuy)",
                    "log 4 Task cmd result:(2) Copy refe to work failed;y;",
                    "task 18 2 [Copy refe to work failed, y]", "log 2 Set calibration page ecu(z)",
                    "log 3 Can't find task ecuz)", "log 4 Task cmd result:(2) Set memory page failed;;",
                    "task 9 2 [Set memory page failed, ]"));
}

TEST_F(CommandQueue, ArgumentsAreCopied) {
    occupyWorker();
    {
        std::vector<std::string> names{"b"};
        EcuConnect(names);
        names[0] = "ghost";
    }
    m_a.releases();
    ASSERT_TRUE(support::waitFor([this] { return count("task 1 0") == 2; }));
    EXPECT_EQ(m_b.count("ff 00"), 1U);
}

TEST_F(CommandQueue, QueuedCommandsGetNoResultAfterStopAllTask) {
    occupyWorker();
    queueNumbered(1, 20);
    stopAllTask();
    ASSERT_TRUE(shows("task 1 "));
    settles();
    EXPECT_EQ(count("task 7"), 0U);
    EXPECT_THAT(numbersRun(), IsEmpty());
}

TEST_F(CommandQueue, CommandsAfterStopAllTaskRunOnce) {
    occupyWorker();
    queueNumbered(1, 20);
    stopAllTask();
    queueNumbered(50, 2);
    ASSERT_TRUE(support::waitFor([this] { return count("task 7 0") == 2; }));
    settles();
    EXPECT_EQ(numbersRun(), numbers(50, 51));
    EXPECT_EQ(count("task 7"), 2U);
}

TEST_F(CommandQueue, ADisconnectThrowsAwayWhatIsQueuedBehindIt) {
    occupyWorker();
    queueNumbered(1, 1);
    EcuDisconnect();
    queueNumbered(2, 5);
    m_a.releases();
    ASSERT_TRUE(shows("task 2 0"));
    settles();
    EXPECT_EQ(numbersRun(), numbers(1, 1));
}

TEST(EngineThreads, TheWorkerStartsWithTheFirstCommandAndNotBefore) {
    const std::size_t before = threadCount();
    if (before == 0) {
        GTEST_SKIP() << "threads cannot be counted here";
    }
    support::TestHost::install();
    setProtoCfgs({EcuProtoCfg{}});
    setProtoCfg("a", EcuProtoCfg{});
    getProtoCfg();
    isConnectEcu();
    isEcuConnect("a");
    isMeasureing();
    stopAllTask();
    recvCanMsg(0, 0, 0, 2, 0, nullptr);
    EXPECT_EQ(threadCount(), before);
    EcuConnect({});
    EXPECT_TRUE(support::waitFor([] { return isConnectEcu(); }));
    EXPECT_EQ(threadCount(), before + 1);
}

TEST(EngineThreads, OneWorkerServesAllCommandsOfAllThreads) {
    const std::size_t before = threadCount();
    if (before == 0) {
        GTEST_SKIP() << "threads cannot be counted here";
    }
    {
        std::vector<std::jthread> hosts;
        for (int i = 0; i < 8; ++i) {
            hosts.emplace_back([] { EcuConnect({}); });
        }
    }
    EXPECT_TRUE(support::waitFor([] { return isConnectEcu(); }));
    EXPECT_TRUE(support::waitFor([&] { return threadCount() == before + 1; }));
}

TEST(EngineThreads, TheEngineIsMadeOnceThoughSeveralThreadsCallAtOnce) {
    std::atomic<bool> go = false;
    std::array<ProtoThread*, 8> seen{};
    {
        std::vector<std::jthread> hosts;
        for (ProtoThread*& engine : seen) {
            hosts.emplace_back([&go, &engine] {
                while (!go) {
                    std::this_thread::yield();
                }
                engine = &protoThread();
            });
        }
        go = true;
    }
    EXPECT_THAT(seen, testing::Each(seen[0]));
    EXPECT_NE(seen[0], nullptr);
}

}  // namespace
