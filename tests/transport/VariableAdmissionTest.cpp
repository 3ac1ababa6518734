#include "tests/support/TestHost.h"
#include "tests/transport/TransportTestSupport.h"

#include <gtest/gtest.h>

using namespace transport_test;
using Texts = std::vector<std::string>;

namespace {

mcMeasureVariable variable(const std::string& name, std::uint32_t address, std::uint32_t size,
                           std::uint8_t extension = 0) {
    mcMeasureVariable made;
    made.name = name;
    made.address = address;
    made.size = size;
    made.addressExtension = extension;
    return made;
}

mcMemoryInfo segment(std::uint32_t address, std::uint32_t length, std::uint8_t extension = 0) {
    mcMemoryInfo made;
    made.address = address;
    made.length = length;
    made.addressExtension = extension;
    return made;
}

class VariableAdmission : public testing::Test {
protected:
    bool isAllowed(const mcMeasureVariable& tested) {
        host.clear();
        return PlainTransmit(cfg, support::TestHost::callBacks()).isVariableAllowed(tested);
    }

    support::TestHost host;
    EcuProtoCfg cfg;
};

}  // namespace

TEST_F(VariableAdmission, AddressZeroPassesWithTheFlagClear) {
    EXPECT_TRUE(isAllowed(variable("a", 0, 4)));
    EXPECT_TRUE(host.logs().empty());
}

TEST_F(VariableAdmission, AddressZeroIsRefusedByTheFlagOfTheProtocol) {
    for (const std::uint32_t protoType : {0U, 1U, 2U}) {
        cfg.protoType = protoType;
        cfg.xcp.rejectZeroAddress = protoType == 1;
        cfg.ccp.rejectZeroAddress = protoType != 1;
        EXPECT_FALSE(isAllowed(variable("a", 0, 4)));
        EXPECT_EQ(host.logTexts(3), Texts{"Ignore measure variable:a address is 0x00"});
        std::swap(cfg.xcp.rejectZeroAddress, cfg.ccp.rejectZeroAddress);
        EXPECT_TRUE(isAllowed(variable("a", 0, 4)));
    }
}

TEST_F(VariableAdmission, SizeZeroIsRefused) {
    EXPECT_FALSE(isAllowed(variable("speed", 0x1000, 0)));
    EXPECT_EQ(host.logTexts(3), Texts{"Ignore measure variable:speed address size is 0"});
}

TEST_F(VariableAdmission, AddressIsLookedAtBeforeTheSize) {
    cfg.xcp.rejectZeroAddress = 1;
    EXPECT_FALSE(isAllowed(variable("a", 0, 0)));
    EXPECT_EQ(host.logTexts(3), Texts{"Ignore measure variable:a address is 0x00"});
}

TEST_F(VariableAdmission, VariableInTheSecondSegmentPassesSilently) {
    cfg.dataSegments = {segment(0x1000, 16), segment(0x2000, 16)};
    EXPECT_TRUE(isAllowed(variable("a", 0x200C, 4)));
    EXPECT_TRUE(host.logs().empty());
}

TEST_F(VariableAdmission, VariableOutsideEverySegmentIsWarnedOfAndAllowed) {
    cfg.dataSegments = {segment(0x1000, 16)};
    EXPECT_TRUE(isAllowed(variable("a", 0x100D, 4)));
    EXPECT_EQ(host.logTexts(3), Texts{"Ignore measure variable:a address out of memory segment range"});
}

TEST_F(VariableAdmission, CodeSegmentsPlayNoPart) {
    cfg.codeSegments = {segment(0x1000, 16)};
    EXPECT_TRUE(isAllowed(variable("a", 0x5000, 4)));
    EXPECT_TRUE(host.logs().empty());
}

TEST_F(VariableAdmission, FilterKeepsTheOrderAndNamesTheRejected) {
    cfg.xcp.rejectZeroAddress = 1;
    const PlainTransmit object(cfg, {});
    std::vector<mcMeasureVariable> variables = {variable("a", 1, 1), variable("b", 0, 1), variable("c", 2, 1),
                                                variable("d", 3, 0)};
    Texts rejected = {"before"};
    object.filterVariables(variables, rejected);
    ASSERT_EQ(variables.size(), 2U);
    EXPECT_EQ(variables[0].name, "a");
    EXPECT_EQ(variables[1].name, "c");
    EXPECT_EQ(rejected, Texts({"before", "b", "d"}));
}

TEST_F(VariableAdmission, SegmentEdges) {
    struct Row {
        const char* what;
        mcMemoryInfo segment;
        mcMeasureVariable block;
        bool inside;
    };
    const std::vector<Row> rows = {
        {"whole segment", segment(0x1000, 16), variable("", 0x1000, 16), true},
        {"last byte", segment(0x1000, 16), variable("", 0x100F, 1), true},
        {"one past the end", segment(0x1000, 16), variable("", 0x100F, 2), false},
        {"one ahead of the start", segment(0x1000, 16), variable("", 0x0FFF, 2), false},
        {"other extension", segment(0x1000, 16, 1), variable("", 0x1000, 4), false},
        {"same extension", segment(0x1000, 16, 1), variable("", 0x1000, 4, 1), true},
        {"empty segment", segment(0x1000, 0), variable("", 0x1000, 1), false},
        {"empty block", segment(0x1000, 16), variable("", 0x1000, 0), false},
        {"segment that ends at the top", segment(0xFFFFFFF0, 16), variable("", 0xFFFFFFF0, 4), false},
        {"both end at the top", segment(0xFFFFFFF0, 16), variable("", 0xFFFFFFFC, 4), true},
        {"segment wraps, block not", segment(0xFFFFFFF0, 32), variable("", 0xFFFFFFF4, 4), false},
        {"segment and block wrap", segment(0xFFFFFFF0, 32), variable("", 0xFFFFFFFC, 8), true},
        {"block wraps, segment not", segment(0x1000, 16), variable("", 0x1008, 0xFFFFFFF0), true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(BasicCfgTransmit::isInSegment(row.segment, row.block), row.inside);
    }
}
