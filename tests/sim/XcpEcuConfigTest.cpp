#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace sim::test {
namespace {

struct Row {
    const char* reason;
    void (*spoil)(XcpEcuConfig&);
};

constexpr Row kRows[] = {
    {"MAX_CTO must be 8, or up to 64 with CAN FD", [](XcpEcuConfig& c) { c.maxCto = 9; }},
    {"MAX_CTO must be 8, or up to 64 with CAN FD", [](XcpEcuConfig& c) { c.maxCto = 7; }},
    {"MAX_DTO must be 8, or up to 64 with CAN FD", [](XcpEcuConfig& c) { c.fd = true, c.maxDto = 65; }},
    {"padding must fit into a frame", [](XcpEcuConfig& c) { c.padLength = 9; }},
    {"address granularity must be 1, 2 or 4", [](XcpEcuConfig& c) { c.granularity = 3; }},
    {"a lock needs one resource of the ECU", [](XcpEcuConfig& c) { c.locks = {{.resource = 0x05}}; }},
    {"a lock needs one resource of the ECU", [](XcpEcuConfig& c) { c.locks = {{.resource = 0x10}}; }},
    {"a lock needs a seed and a key function",
     [](XcpEcuConfig& c) { c.locks = {{.resource = 0x04, .seedLength = 0}}; }},
    {"a lock needs a seed and a key function",
     [](XcpEcuConfig& c) { c.locks = {{.resource = 0x04, .seedLength = 1, .key = {}}}; }},
    {"an event unit must be 0 to 9", [](XcpEcuConfig& c) { c.daq.events[0].unit = 10; }},
    {"an event period is below 100 us",
     [](XcpEcuConfig& c) { c.daq.events[0].unit = 3, c.daq.events[0].cycle = 99; }},
    {"an event name must have at most 255 bytes",
     [](XcpEcuConfig& c) { c.daq.events[0].name = std::string(256, 'x'); }},
    {"timestamps must have 0, 1, 2 or 4 bytes", [](XcpEcuConfig& c) { c.daq.timestampSize = 3; }},
    {"the timestamp tick is not a time", [](XcpEcuConfig& c) { c.daq.timestampTicks = 0; }},
    {"a fixed timestamp needs a size",
     [](XcpEcuConfig& c) { c.daq.timestampSize = 0, c.daq.timestampFixed = true; }},
    {"with dynamic lists the given ones must be predefined", [](XcpEcuConfig& c) { c.daq.lists = {{}}; }},
    {"predefined lists must come first",
     [](XcpEcuConfig& c) {
         c.daq.dynamic = false;
         c.daq.lists.resize(2);
         c.daq.lists[1].content = {{XcpDaqEntry{.size = 1, .address = 0x1000}}};
     }},
    {"a fixed event is not there",
     [](XcpEcuConfig& c) { c.daq.dynamic = false, c.daq.lists = {{.fixedEvent = 2}}; }},
    {"more ODTs than identifiers",
     [](XcpEcuConfig& c) {
         c.daq.dynamic = false, c.daq.lists = {{.odts = 252}, {.odts = 1}};
     }},
    {"the entry granularity must be 1, 2, 4 or 8", [](XcpEcuConfig& c) { c.daq.entryGranularity = 3; }},
    {"the address extension rule is not one", [](XcpEcuConfig& c) { c.daq.addressExtension = 2; }},
    {"a signal lies outside the memory", [](XcpEcuConfig& c) { c.signals = {{.address = 0x10FD}}; }},
};

TEST(XcpEcuConfig, OfEveryImpossibleEcuIsRefusedWithItsReason) {
    for (const Row& row : kRows) {
        XcpEcuConfig config = smallEcu();
        row.spoil(config);
        try {
            const XcpEcu ecu(config);
            ADD_FAILURE() << "not refused: " << row.reason;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), row.reason);
        }
    }
}

TEST(XcpEcuConfig, OfTheTestsIsFine) {
    EXPECT_NO_THROW(smallEcu().check());
    EXPECT_NO_THROW(XcpEcuConfig{}.check());
}

TEST(XcpEcuUnits, ArePowersOfTenNanoseconds) {
    EXPECT_EQ(xcpUnitNs(0), 1U);
    EXPECT_EQ(xcpUnitNs(3), 1'000U);
    EXPECT_EQ(xcpUnitNs(6), 1'000'000U);
    EXPECT_EQ(xcpUnitNs(9), 1'000'000'000U);
    EXPECT_EQ(xcpUnitNs(10), 0U);
}

}  // namespace
}  // namespace sim::test
