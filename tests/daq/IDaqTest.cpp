#include "daq/IDaq.h"

#include "tests/daq/DaqTestSupport.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using daq_test::copied;
using daq_test::odt;
using daq_test::piece;
using daq_test::text;
using daq_test::variable;

/// The base alone: nothing of a protocol.
class BarePlanner : public IDaq {
public:
    void configure(const EcuProtoCfg&) override {}
    void planLists(bool) override {}
    std::vector<mcMeasureVariableValue> decodeDto(const msgBuf&) override { return {}; }

    /// A list that finishes @p names for event 3.
    void plans(std::uint16_t list, std::list<std::string> names) {
        m_daqLists[list].event = 3;
        m_finishedNames[3][list] = std::move(names);
    }

    void receives(std::uint16_t list, const std::vector<DaqOdtEntry>& pieces) {
        const DaqOdtPlan plan = odt(pieces);
        std::vector<DaqOdtEntry>& running = piecesFor(list, &plan);
        running.insert(running.end(), pieces.begin(), pieces.end());
    }
};

TEST(IDaqDefaults, AreThoseOfAnEcuWithEightByteFrames) {
    const BarePlanner daq;
    EXPECT_EQ(daq.m_maxCto, 8);
    EXPECT_EQ(daq.m_maxDto, 8);
    EXPECT_EQ(daq.m_maxOdtEntrySize, 6);
    EXPECT_EQ(daq.m_firstDaqList, 0);
    EXPECT_EQ(daq.m_daqListLimit, 6);
    EXPECT_EQ(daq.m_packMode, 0U);
    EXPECT_TRUE(daq.m_events.empty() && daq.m_daqLists.empty() && daq.m_pollVars.empty());
    EXPECT_TRUE(daq.m_eventVars.empty() && daq.m_fragments.empty() && daq.m_finishedNames.empty());
}

TEST(IDaqAssignVariables, SortsByPeriodAndGroupsTheRestByEventInTheCallersOrder) {
    BarePlanner daq;
    daq.assignVariables(
        {variable("z", 1, 7), variable("p", 2, 7, 1), variable("y", 4, 2), variable("a", 1, 7)});
    EXPECT_EQ(text(daq.m_pollVars), "p:2");
    ASSERT_EQ(daq.m_eventVars.size(), 2U);
    EXPECT_EQ(text(daq.m_eventVars[7]), "z:1 a:1");
    EXPECT_EQ(text(daq.m_eventVars[2]), "y:4");
}

TEST(IDaqAssignVariables, AVariableWithPeriodOneAndAValidEventGoesToPollingAndToNoList) {
    BarePlanner daq;
    daq.assignVariables({variable("p", 2, 1, 1)});
    ASSERT_EQ(daq.m_pollVars.size(), 1U);
    EXPECT_EQ(copied(daq.m_pollVars[0].event), 1);
    EXPECT_EQ(copied(daq.m_pollVars[0].period), 1);
    EXPECT_TRUE(daq.m_eventVars.empty());
}

TEST(IDaqAssignVariables, AnEmptyInputOnlyEmptiesThePolledOnes) {
    BarePlanner daq;
    daq.assignVariables({variable("p", 2, 1, 10), variable("d", 2, 1)});
    daq.assignVariables({});
    EXPECT_TRUE(daq.m_pollVars.empty());
    EXPECT_EQ(text(daq.m_eventVars[1]), "d:2");
}

TEST(IDaqAssignVariables, TwiceAddsToTheWaitingVariables) {
    BarePlanner daq;
    daq.assignVariables({variable("a", 1, 5), variable("p", 1, 5, 9)});
    daq.assignVariables({variable("b", 2, 5), variable("q", 1, 5, 9)});
    EXPECT_EQ(text(daq.m_eventVars[5]), "a:1 b:2");
    EXPECT_EQ(text(daq.m_pollVars), "q:1");
}

TEST(IDaqReset, EmptiesAllButFinishedNamesAndLimits) {
    BarePlanner daq;
    daq.assignVariables({variable("p", 2, 1, 10), variable("d", 2, 1)});
    daq.m_events[1].number = 1;
    daq.m_fragments[0].push_back(piece("d", 0, {1}));
    daq.plans(0, {"d"});
    daq.m_maxDto = 64;
    daq.m_daqListLimit = 9;
    for (int times = 0; times < 2; ++times) {
        daq.reset();
        EXPECT_TRUE(daq.m_events.empty() && daq.m_daqLists.empty() && daq.m_pollVars.empty());
        EXPECT_TRUE(daq.m_eventVars.empty() && daq.m_fragments.empty());
        EXPECT_EQ(text(daq.m_finishedNames[3][0]), "d");
        EXPECT_EQ(daq.m_maxDto, 64);
        EXPECT_EQ(daq.m_daqListLimit, 9);
    }
}

TEST(IDaqMergeFragments, JoinsPiecesInTheOrderOfTheirOrdinals) {
    BarePlanner daq;
    DaqOdtEntry first = piece("a", 0, {1, 2});
    first.type = 4;
    first.address = 0x2000;
    first.addressExtension = 9;
    first.offset = 5;
    const auto merged = daq.mergeFragments({piece("a", 2, {4}), first, piece("a", 1, {3})});
    ASSERT_EQ(merged.size(), 1U);
    const DaqOdtEntry& a = merged.at("a");
    EXPECT_EQ(a.data, (std::vector<std::uint8_t>{1, 2, 3, 4}));
    EXPECT_EQ(a.size, 4U);
    EXPECT_EQ(a.fragment, 2);
    EXPECT_EQ(a.name, "a");
    EXPECT_EQ(a.type, 4);
    EXPECT_EQ(a.address, 0x2000U);
    EXPECT_EQ(a.addressExtension, 9);
    EXPECT_EQ(a.offset, 5);
}

TEST(IDaqMergeFragments, UsesAPieceThatArrivedTwiceOnce) {
    BarePlanner daq;
    const auto merged =
        daq.mergeFragments({piece("a", 0, {1}), piece("a", 1, {2}), piece("a", 0, {8}), piece("a", 1, {9})});
    EXPECT_EQ(merged.at("a").data, (std::vector<std::uint8_t>{1, 2}));
}

TEST(IDaqMergeFragments, LeavesAShorterValueForAMissingMiddlePiece) {
    BarePlanner daq;
    const auto merged = daq.mergeFragments({piece("a", 0, {1}), piece("a", 2, {3})});
    EXPECT_EQ(merged.at("a").data, (std::vector<std::uint8_t>{1, 3}));
    EXPECT_EQ(merged.at("a").size, 2U);
}

TEST(IDaqMergeFragments, OrdersNamesByUnsignedBytesTheShorterFirst) {
    BarePlanner daq;
    const auto merged = daq.mergeFragments({piece("b", 0, {1}), piece("\xC3\xA4", 0, {2}),
                                            piece("ab", 0, {3}), piece("a", 0, {4}), piece("Z", 0, {5})});
    std::list<std::string> names;
    for (const auto& [name, record] : merged) {
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::list<std::string>{"Z", "a", "ab", "b", "\xC3\xA4"}));
}

TEST(IDaqMergeFragments, OfNothingIsEmpty) {
    EXPECT_TRUE(BarePlanner().mergeFragments({}).empty());
}

TEST(IDaqIsCycleComplete, OfAnUnplannedListOnlyIfNothingCame) {
    BarePlanner daq;
    EXPECT_TRUE(daq.isCycleComplete(4, {}));
    EXPECT_FALSE(daq.isCycleComplete(4, {{"a", {}}}));
}

TEST(IDaqIsCycleComplete, WithoutNamesOfItsEventOnlyIfNothingCame) {
    BarePlanner daq;
    daq.m_daqLists[4].event = 3;
    EXPECT_TRUE(daq.isCycleComplete(4, {}));
    EXPECT_FALSE(daq.isCycleComplete(4, {{"a", {}}}));
    daq.m_finishedNames[3][5] = {"a"};
    EXPECT_TRUE(daq.isCycleComplete(4, {}));
    EXPECT_FALSE(daq.isCycleComplete(4, {{"a", {}}}));
}

TEST(IDaqIsCycleComplete, OfAListThatFinishesNothingOnlyIfNothingCame) {
    BarePlanner daq;
    daq.plans(4, {});
    EXPECT_TRUE(daq.isCycleComplete(4, {}));
    EXPECT_FALSE(daq.isCycleComplete(4, {{"a", {}}}));
}

TEST(IDaqIsCycleComplete, CountsNamesAndDoesNotCompareThem) {
    BarePlanner daq;
    daq.plans(4, {"a", "b"});
    EXPECT_FALSE(daq.isCycleComplete(4, {}));
    EXPECT_FALSE(daq.isCycleComplete(4, {{"a", {}}}));
    EXPECT_TRUE(daq.isCycleComplete(4, {{"x", {}}, {"y", {}}}));
    EXPECT_TRUE(daq.isCycleComplete(4, {{"a", {}}, {"b", {}}, {"c", {}}}));
}

TEST(IDaqIsCycleComplete, IsNeverTrueForTwoVariablesOfOneName) {
    BarePlanner daq;
    daq.plans(0, {"a", "a"});
    const auto merged = daq.mergeFragments({piece("a", 0, {1, 2}), piece("a", 0, {3, 4})});
    ASSERT_EQ(merged.size(), 1U);
    EXPECT_EQ(merged.at("a").data, (std::vector<std::uint8_t>{1, 2}));
    EXPECT_FALSE(daq.isCycleComplete(0, merged));
}

TEST(IDaqCloseCycle, DeliversInNameOrderAndDropsThePieces) {
    BarePlanner daq;
    daq.plans(0, {"a", "b"});
    daq.receives(0, {piece("b", 0, {1}), piece("a", 0, {2})});
    EXPECT_EQ(text(daq.closeCycle(0, 77)), "a@77=2 b@77=1");
    EXPECT_TRUE(daq.m_fragments[0].empty());
    EXPECT_EQ(text(daq.closeCycle(0, 78)), "");
}

TEST(IDaqCloseCycle, AgreesWithMergeFragmentsAndIsCycleComplete) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&](unsigned end) { return static_cast<std::uint8_t>(random() % end); };
    BarePlanner daq;
    std::vector<DaqOdtEntry> pieces;
    for (int round = 0; round < 5000; ++round) {
        daq.plans(1, std::list<std::string>(below(4), "n"));
        if (below(3) != 0) {  // else the cycle brings the same pieces as the one before
            pieces.clear();
            for (unsigned left = below(9); left > 0; --left) {
                const std::string name(1, static_cast<char>('a' + below(4)));
                pieces.push_back(piece(name, below(4), {below(255)}));
            }
        }
        const auto merged = daq.mergeFragments(pieces);
        std::vector<mcMeasureVariableValue> expected;
        if (daq.isCycleComplete(1, merged)) {
            for (const auto& [name, record] : merged) {
                expected.push_back({name, 5, record.data});
            }
        }
        daq.receives(1, pieces);
        ASSERT_EQ(text(daq.closeCycle(1, 5)), text(expected)) << "round " << round;
        ASSERT_TRUE(daq.m_fragments[1].empty());
    }
}

TEST(IDaqPiecesFor, DoesNotGrowForeverWhenNoCycleEverBegins) {
    BarePlanner daq;
    daq.plans(0, {"a"});
    for (int frames = 0; frames < 100'000; ++frames) {
        const auto late = static_cast<std::uint8_t>(frames == 0 ? 1 : 2);
        daq.receives(0, {piece("a", 1, {late}), piece("a", 0, {late})});
        ASSERT_LE(daq.m_fragments[0].size(), 4096U);
    }
    EXPECT_EQ(text(daq.closeCycle(0, 9)), "a@9=1,1");
}

TEST(IDaqPiecesFor, KeepsEveryPieceOfALargeCycle) {
    BarePlanner daq;
    std::list<std::string> names;
    for (int index = 0; index < 10'000; ++index) {
        names.push_back("v" + std::to_string(index));
    }
    daq.plans(0, names);
    for (const std::string& name : names) {
        daq.receives(0, {piece(name, 0, {1})});
    }
    EXPECT_EQ(daq.closeCycle(0, 9).size(), 10'000U);
}

TEST(IDaqPlaceOfPid, IsTheFirstListWhoseRangeHoldsIt) {
    BarePlanner daq;
    daq.m_daqLists[2] = {0, 10, 12, 0, {}, 0};
    daq.m_daqLists[5] = {0, 12, 20, 0, {}, 0};
    const auto shared = daq.placeOfPid(12);
    EXPECT_EQ(shared.list, 2);
    EXPECT_EQ(shared.odt, 2);
    EXPECT_FALSE(shared.isFirst);
    const auto later = daq.placeOfPid(13);
    EXPECT_EQ(later.list, 5);
    EXPECT_EQ(later.odt, 1);
    EXPECT_TRUE(daq.placeOfPid(10).isFirst);
}

TEST(IDaqPlaceOfPid, OfNoListIsALaterOdtWithIndexZeroOfListZero) {
    BarePlanner daq;
    daq.m_daqLists[2] = {0, 10, 12, 0, {}, 0};
    const auto place = daq.placeOfPid(9);
    EXPECT_EQ(place.list, 0);
    EXPECT_EQ(place.odt, 0);
    EXPECT_FALSE(place.isFirst);
}

TEST(IDaqReadEntry, ReadsZerosBehindThePayload) {
    const std::vector<std::uint8_t> payload{1, 2, 3, 4};
    EXPECT_EQ(BarePlanner::readEntry(daq_test::entry("a", 0, 1, 2), payload).data,
              (std::vector<std::uint8_t>{2, 3}));
    EXPECT_EQ(BarePlanner::readEntry(daq_test::entry("a", 0, 3, 3), payload).data,
              (std::vector<std::uint8_t>{4, 0, 0}));
    EXPECT_EQ(BarePlanner::readEntry(daq_test::entry("a", 0, 200, 2), payload).data,
              (std::vector<std::uint8_t>{0, 0}));
}

TEST(IDaqFindOdt, IsNullForAnUnknownListOrIndex) {
    BarePlanner daq;
    daq.m_daqLists[2].odts = {odt({}), odt({})};
    EXPECT_EQ(daq.findOdt(2, 1), &daq.m_daqLists[2].odts[1]);
    EXPECT_EQ(daq.findOdt(2, 2), nullptr);
    EXPECT_EQ(daq.findOdt(1, 0), nullptr);
}

}  // namespace
