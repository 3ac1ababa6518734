#include "host/IdPair.h"

#include "host/Config.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using host::distinct;
using host::IdPair;
using host::IdPairError;
using host::parseIdPair;
using host::Protocol;
using ::testing::ElementsAre;
using ::testing::StartsWith;

IdPair xcp(const std::string& text) {
    return parseIdPair(Protocol::xcp, text);
}

TEST(IdPair, IsLittleEndianUnlessToldOtherwise) {
    EXPECT_EQ(xcp("600:601"), (IdPair{Protocol::xcp, 0x600, 0x601, false, false}));
    EXPECT_EQ(xcp("600:601,le"), (IdPair{Protocol::xcp, 0x600, 0x601, false, false}));
    EXPECT_EQ(xcp("7fF:000,be"), (IdPair{Protocol::xcp, 0x7FF, 0x000, false, true}));
    EXPECT_EQ(parseIdPair(Protocol::ccp, "700:701"), (IdPair{Protocol::ccp, 0x700, 0x701, false, false}));
}

TEST(IdPair, EightDigitsAre29Bits) {
    EXPECT_EQ(xcp("18DA10F1:18DAF110,be"), (IdPair{Protocol::xcp, 0x18DA10F1, 0x18DAF110, true, true}));
    EXPECT_EQ(xcp("00000600:00000601"), (IdPair{Protocol::xcp, 0x600, 0x601, true, false}));
}

TEST(IdPair, AnythingElseIsRefusedWithWhatWasFound) {
    for (const char* text :
         {"", "600", "600:", ":601", "600:601:602", "60:601", "600:6011", "0600:0601", "800:601", "600:6g1",
          "600:601,", "600:601,BE", "600:601,le,be", "20000000:00000001", "600:00000601", "600:600",
          "-10:601", "600,le:601", "600:601 "}) {
        try {
            static_cast<void>(xcp(text));
            ADD_FAILURE() << text;
        } catch (const IdPairError& error) {
            EXPECT_THAT(error.what(), StartsWith("found \"" + std::string(text) + "\"; allowed are "));
        }
    }
}

TEST(IdPairs, OfTheExampleAreItsThreeEcus) {
    const host::Config config =
        host::loadConfig(std::string(host_test::kProjectFolder) + "/examples/demo.toml");
    EXPECT_THAT(host::idPairs(config), ElementsAre(IdPair{Protocol::xcp, 0x600, 0x601, false, false},
                                                   IdPair{Protocol::xcp, 0x640, 0x641, false, true},
                                                   IdPair{Protocol::ccp, 0x680, 0x681, false, false}));
}

TEST(DistinctIdPairs, DropsWhatStandsThereTwice) {
    EXPECT_THAT(distinct({xcp("600:601"), xcp("640:641"), xcp("600:601,le")}),
                ElementsAre(xcp("600:601"), xcp("640:641")));
}

TEST(DistinctIdPairs, RefusesAnIdentifierInTwoPairsThatDiffer) {
    for (const IdPair& other : {xcp("600:602"), xcp("602:600"), xcp("601:602"), xcp("602:601"),
                                xcp("600:601,be"), parseIdPair(Protocol::ccp, "600:601")}) {
        EXPECT_THROW(static_cast<void>(distinct({xcp("600:601"), other})), IdPairError);
    }
    try {
        static_cast<void>(distinct({xcp("640:601"), xcp("601:602")}));
        FAIL();
    } catch (const IdPairError& error) {
        EXPECT_STREQ(
            error.what(),
            "identifier 601 is in two pairs, so a frame with it could belong to either; give the pairs "
            "of one of them by --xcp or --ccp");
    }
}

TEST(DistinctIdPairs, TellsIdentifiersOf11And29BitsApart) {
    EXPECT_EQ(distinct({xcp("600:601"), xcp("00000600:00000601")}).size(), 2U);
}

}  // namespace
