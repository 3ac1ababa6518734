#include "ccp/CcpDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

namespace {

using daq_test::copied;
using daq_test::text;
using daq_test::variable;

/// Packs one list with ODTs of 7 bytes unless a test says otherwise.
class CcpDaqPack : public daq_test::PackTest<CCP_MOUDLE::CcpDaq> {
protected:
    std::string packs(std::vector<mcMeasureVariable> variables, std::uint8_t budget = 10) {
        return packsWithin(std::move(variables), false, budget);
    }
};

using CcpDaqPackMode0 = daq_test::PackModeTest<CcpDaqPack, 0>;
using CcpDaqPackMode1 = daq_test::PackModeTest<CcpDaqPack, 1>;
using CcpDaqPackMode2 = daq_test::PackModeTest<CcpDaqPack, 2>;

TEST_F(CcpDaqPackMode0, TheThirdOfFourTwoFourClosesTheOdt) {
    EXPECT_EQ(packs({variable("a", 4), variable("b", 2), variable("c", 4)}), "a@0:4 b@4:2 | c@0:4");
    EXPECT_EQ(names(), "a b c");
    EXPECT_EQ(m_odts[0].size, 6);
    EXPECT_EQ(m_odts[0].isFirst, 1);
    EXPECT_EQ(m_odts[1].size, 4);
    EXPECT_EQ(m_odts[1].isFirst, 0);
}

TEST_F(CcpDaqPackMode0, NoLaterVariableIsTriedInItsPlace) {
    EXPECT_EQ(packs({variable("a", 4), variable("b", 4), variable("c", 2)}), "a@0:4 | b@0:4 c@4:2");
}

TEST_F(CcpDaqPackMode0, AVariableOfExactlySevenBytesIsTooLarge) {
    EXPECT_EQ(packs({variable("full", 7), variable("a", 6), variable("larger", 300)}), "a@0:6");
    EXPECT_EQ(left(), "full:7 larger:300");
    EXPECT_EQ(names(), "a");
}

TEST_F(CcpDaqPackMode0, VariablesThatAreTooLargeGoBehindThoseThatFoundNoBudget) {
    EXPECT_EQ(packs({variable("x", 9), variable("a", 4), variable("b", 4), variable("c", 2)}, 1), "a@0:4");
    EXPECT_EQ(left(), "b:4 c:2 x:9");
}

TEST_F(CcpDaqPackMode0, TheCapacityComesFromTheCommandFrame) {
    m_daq.m_maxCto = 5;
    EXPECT_EQ(packs({variable("a", 4), variable("b", 3), variable("c", 1)}), "b@0:3 c@3:1");
    EXPECT_EQ(left(), "a:4");
}

TEST_F(CcpDaqPackMode0, ACommandFrameOfOneByteCountsAsSevenBytesOfRoom) {
    m_daq.m_maxCto = 1;
    EXPECT_EQ(packs({variable("a", 7), variable("b", 6)}), "b@0:6");
}

TEST_F(CcpDaqPackMode0, ACommandFrameOfNoByteWrapsToSixteenBits) {
    // 65535 bytes are the limit of a variable, of which the room keeps the low 8 bits.
    m_daq.m_maxCto = 0;
    EXPECT_EQ(packs({variable("a", 255), variable("b", 200)}), "a@0:255 | b@0:200");
}

TEST_F(CcpDaqPackMode0, AVariableBetweenRoomAndCapacityEndsTheListWithoutProgress) {
    // 299 bytes are the limit of a variable, of which the room keeps 43.
    m_daq.m_maxCto = 300;
    EXPECT_EQ(packs({variable("x", 299), variable("a", 40), variable("b", 44), variable("c", 1)}), "a@0:40");
    EXPECT_EQ(left(), "b:44 c:1 x:299");
}

TEST_F(CcpDaqPackMode1, AVariableOfThreeBytesIsThreeEntriesOfOneOdt) {
    EXPECT_EQ(packs({variable("a", 3)}), "a@0:1 a#1@1:1 a#2@2:1");
    EXPECT_EQ(m_odts[0].entries[2].address, 0x1002U);
    EXPECT_EQ(names(), "a");
}

TEST_F(CcpDaqPackMode1, AVariableRunsOverTheEndOfTheBudgetWithItsRest) {
    EXPECT_EQ(packs({variable("a", 6), variable("b", 3)}, 1),
              "a@0:1 a#1@1:1 a#2@2:1 a#3@3:1 a#4@4:1 a#5@5:1 b@6:1");
    EXPECT_EQ(left(), "b:2");
    EXPECT_EQ(m_variables[0].fragment, 1);
    EXPECT_EQ(copied(m_variables[0].address), 0x1001U);
    EXPECT_EQ(names(), "a");
}

TEST_F(CcpDaqPackMode1, TheOrdinalOfAPieceWrapsAfter256) {
    packs({variable("a", 300)}, 255);
    ASSERT_EQ(m_odts.size(), 43U);
    EXPECT_EQ(m_odts[36].entries[3].fragment, 255);
    EXPECT_EQ(m_odts[36].entries[4].fragment, 0);
    EXPECT_EQ(m_odts[36].entries[4].address, 0x1100U);
}

TEST_F(CcpDaqPackMode1, AVariableOfAnySizeFillsTheBudget) {
    packs({variable("a", 0xFFFFFFFF)}, 2);
    EXPECT_EQ(m_odts.size(), 2U);
    EXPECT_EQ(left(), "a:4294967281");
}

TEST_F(CcpDaqPackMode2, AVariableOfTenBytesRunsOverTwoOdtsAndIsNamedOnce) {
    EXPECT_EQ(packs({variable("a", 10)}), "a@0:7 | a#1@0:3");
    EXPECT_EQ(m_odts[1].entries[0].address, 0x1007U);
    EXPECT_EQ(names(), "a");
}

TEST_F(CcpDaqPackMode2, AVariableRunsOverTheEndOfTheBudgetWithItsRest) {
    EXPECT_EQ(packs({variable("a", 10), variable("b", 1)}, 1), "a@0:7");
    EXPECT_EQ(left(), "a:3 b:1");
    EXPECT_EQ(names(), "");
}

TEST_F(CcpDaqPackMode2, AVariableOfMoreThan255BytesIsNeverBegun) {
    packs({variable("x", 256), variable("a", 255), variable("y", 512)}, 255);
    EXPECT_EQ(names(), "a");
    EXPECT_EQ(left(), "x:256 y:512");
    EXPECT_EQ(m_odts.size(), 37U);
    EXPECT_EQ(m_odts[36].size, 3);
}

TEST_F(CcpDaqPackMode2, AnEntryCarriesTheFieldsOfItsVariable) {
    mcMeasureVariable a = variable("a", 2);
    a.type = 17;
    a.addressExtension = 3;
    a.address = 0xFFFFFFFF;
    packs({a});
    const DaqOdtEntry& made = m_odts[0].entries[0];
    EXPECT_EQ(made.type, 17);
    EXPECT_EQ(made.addressExtension, 3);
    EXPECT_EQ(made.address, 0xFFFFFFFFU);
    EXPECT_TRUE(made.data.empty());
}

TEST_F(CcpDaqPack, WithoutABudgetPlacesNothing) {
    for (const std::uint32_t mode : {0U, 1U, 2U}) {
        m_daq.m_packMode = mode;
        EXPECT_EQ(packs({variable("x", 9), variable("a", 1)}, 0), "");
        EXPECT_EQ(left(), "x:9 a:1");
    }
}

TEST_F(CcpDaqPack, OfNothingMakesNoOdt) {
    EXPECT_EQ(packs({}), "");
}

TEST_F(CcpDaqPack, APackModeAboveTwoPlacesNothingAndEnds) {
    m_daq.m_packMode = 3;
    EXPECT_EQ(packs({variable("a", 1), variable("b", 1)}), "");
    EXPECT_EQ(left(), "a:1 b:1");
}

TEST_F(CcpDaqPack, RoomOfNoByteInEightBitsPlacesNothingAndEnds) {
    m_daq.m_maxCto = 257;
    for (const std::uint32_t mode : {0U, 1U, 2U}) {
        m_daq.m_packMode = mode;
        EXPECT_EQ(packs({variable("a", 1), variable("b", 1)}), "");
        EXPECT_EQ(left(), "a:1 b:1");
    }
}

TEST_F(CcpDaqPack, AVariableWithoutBytesIsAnEntryWithoutBytesInEveryMode) {
    for (const std::uint32_t mode : {0U, 1U, 2U}) {
        m_daq.m_packMode = mode;
        m_names.clear();
        EXPECT_EQ(packs({variable("none", 0), variable("b", 1)}), "none@0:0 b@0:1") << mode;
        EXPECT_EQ(names(), "none b") << mode;
    }
}

}  // namespace
