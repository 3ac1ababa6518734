#include "daq/VariableQueue.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::copied;
using daq_test::text;
using daq_test::variable;

class VariableQueueTest : public testing::Test {
protected:
    /// What waits, in the order of the queue.
    std::string left() {
        m_queue.compact();
        return text(m_variables);
    }

    std::vector<mcMeasureVariable> m_variables{variable("a", 1), variable("b", 2), variable("c", 4)};
    VariableQueue m_queue{m_variables};
};

TEST_F(VariableQueueTest, OffersVariablesInTheirOrder) {
    EXPECT_EQ(m_queue.front().name, "a");
    EXPECT_TRUE(m_queue.take(1));
    EXPECT_EQ(m_queue.front().name, "b");
    EXPECT_EQ(left(), "b:2 c:4");
}

TEST_F(VariableQueueTest, APieceMovesAddressAndOrdinalAndKeepsTheVariableInFront) {
    m_queue.skip();
    EXPECT_FALSE(m_queue.take(1));
    EXPECT_EQ(m_queue.front().name, "b");
    EXPECT_EQ(copied(m_queue.front().size), 1U);
    EXPECT_EQ(copied(m_queue.front().address), 0x1001U);
    EXPECT_EQ(m_queue.front().fragment, 1);
    EXPECT_TRUE(m_queue.take(1));
    EXPECT_EQ(left(), "a:1 c:4");
}

TEST_F(VariableQueueTest, SkippedVariablesKeepTheirPlace) {
    m_queue.skip();
    m_queue.take(2);
    m_queue.skip();
    EXPECT_TRUE(m_queue.atEnd());
    EXPECT_FALSE(m_queue.empty());
    EXPECT_EQ(left(), "a:1 c:4");
}

TEST_F(VariableQueueTest, SkippedVariablesGoLastIfThePassEndsThatWay) {
    m_queue.skip();
    m_queue.putSkippedLast();
    EXPECT_EQ(m_queue.front().name, "b");
    m_queue.take(2);
    EXPECT_EQ(left(), "c:4 a:1");
}

TEST_F(VariableQueueTest, TheNextPassGoesOverSkippedVariablesThatItCouldTake) {
    m_queue.skip();
    m_queue.skip();
    m_queue.beginPass(2);
    EXPECT_EQ(m_queue.front().name, "a");
}

TEST_F(VariableQueueTest, TheNextPassLeavesOutSkippedVariablesThatItWouldSkip) {
    m_queue.skip();
    m_queue.skip();
    m_queue.beginPass(1);
    EXPECT_EQ(m_queue.front().name, "c");
    m_queue.take(4);
    EXPECT_TRUE(m_queue.atEnd());
    m_queue.beginPass(9);
    EXPECT_EQ(m_queue.front().name, "a");
    EXPECT_EQ(left(), "a:1 b:2");
}

TEST_F(VariableQueueTest, KnowsTheSmallestSizeThatWaits) {
    EXPECT_TRUE(m_queue.noneBelow(1));
    EXPECT_FALSE(m_queue.noneBelow(2));
    m_queue.take(1);
    EXPECT_TRUE(m_queue.noneBelow(2));
    m_queue.take(2);
    EXPECT_TRUE(m_queue.noneBelow(4));
    m_queue.take(3);
    EXPECT_FALSE(m_queue.noneBelow(2));
    EXPECT_TRUE(m_queue.noneBelow(1));
}

TEST_F(VariableQueueTest, EmptiesFromAnyEnd) {
    m_queue.skip();
    m_queue.skip();
    m_queue.take(4);
    m_queue.beginPass(9);
    m_queue.take(1);
    EXPECT_EQ(m_queue.front().name, "b");
    m_queue.take(2);
    EXPECT_TRUE(m_queue.empty());
    EXPECT_TRUE(m_queue.atEnd());
    EXPECT_EQ(left(), "");
}

TEST(VariableQueue, OfNothingIsEmptyAndAtItsEnd) {
    std::vector<mcMeasureVariable> none;
    VariableQueue queue(none);
    EXPECT_TRUE(queue.empty());
    EXPECT_TRUE(queue.atEnd());
    queue.putSkippedLast();
    queue.compact();
    EXPECT_TRUE(none.empty());
}

TEST(VariableQueue, LargeSizesCountAsNotBelow256) {
    std::vector<mcMeasureVariable> large{variable("a", 256), variable("b", 0xFFFFFFFF)};
    VariableQueue queue(large);
    EXPECT_TRUE(queue.noneBelow(256));
    EXPECT_FALSE(queue.noneBelow(257));
}

}  // namespace
