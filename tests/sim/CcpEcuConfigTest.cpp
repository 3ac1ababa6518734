// ECUs that cannot be.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace sim::test {
namespace {

/// Why there is no ECU like the small one after @p change; empty if there is one.
std::string refusal(const std::function<void(CcpEcuConfig&)>& change) {
    CcpEcuConfig config = smallCcpEcu();
    change(config);
    try {
        const CcpEcu ecu(config);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

using Config = CcpEcuConfig;

TEST(CcpEcuConfig, OfTheSmallEcuIsFine) {
    EXPECT_EQ(refusal([](Config&) {}), "");
}

TEST(CcpEcuConfig, CanMissOptionalCommandsOnly) {
    EXPECT_EQ(refusal([](Config& c) { c.missingCommands = {0x12, 0x23, 0xF0}; }), "");
    EXPECT_EQ(refusal([](Config& c) { c.missingCommands = {0x12, 0x14}; }), "GET_DAQ_SIZE cannot be missing");
    for (const std::uint8_t code : bytesOf("01 1b 17 02 03 04 14 15 16 06 07")) {
        EXPECT_NE(refusal([code](Config& c) { c.missingCommands = {code}; }), "") << int{code};
    }
}

TEST(CcpEcuConfig, HasTheResourcesOfCcp) {
    EXPECT_EQ(refusal([](Config& c) { c.resources = 0x20; }), "CCP has no such resource");
}

TEST(CcpEcuConfig, NeedsLocksThatCanBeOpened) {
    const auto with = [](const CcpLock& lock) { return refusal([&lock](Config& c) { c.locks = {lock}; }); };
    CcpLock lock;
    EXPECT_EQ(with(lock), "");
    lock.seedLength = 5;
    EXPECT_EQ(with(lock), "a seed must have 1 to 4 bytes");
    lock.seedLength = 0;
    EXPECT_EQ(with(lock), "a seed must have 1 to 4 bytes");
    lock.seedLength = 4;
    lock.key = nullptr;
    EXPECT_EQ(with(lock), "a lock needs a key function");
    lock.key = computeKey;
    lock.resource = 0x03;
    EXPECT_EQ(with(lock), "a lock needs one resource of the ECU");
    lock.resource = 0x04;
    EXPECT_EQ(with(lock), "a lock needs one resource of the ECU");
}

TEST(CcpEcuConfig, NeedsListsWithNumbersOfTheirOwn) {
    EXPECT_EQ(refusal([](Config& c) { c.lists[1].firstPid = 1; }), "two lists number their ODTs alike");
    EXPECT_EQ(refusal([](Config& c) { c.lists[1].firstPid = 0xFB; }), "");
    EXPECT_EQ(refusal([](Config& c) { c.lists[1].firstPid = 0xFC; }), "more ODTs than identifiers");
    EXPECT_EQ(refusal([](Config& c) { c.lists[0].odts = 0; }), "a list needs ODTs and elements");
    EXPECT_EQ(refusal([](Config& c) { c.lists[0].elementsPerOdt = 0; }), "a list needs ODTs and elements");
    EXPECT_EQ(refusal([](Config& c) { c.lists[1].canId.reset(); }),
              "a list that keeps its identifier needs one");
    EXPECT_EQ(refusal([](Config& c) { c.lists[0].events = {2}; }),
              "a list names an event channel that is not there");
}

TEST(CcpEcuConfig, HasPeriodsAndSizesThatCanBe) {
    EXPECT_EQ(refusal([](Config& c) { c.events[0].period = 99'999; }), "an event period is below 100 us");
    EXPECT_EQ(refusal([](Config& c) { c.events[0].period = 100'000; }), "");
    EXPECT_EQ(refusal([](Config& c) { c.events[0].period = 0; }), "");
    EXPECT_EQ(refusal([](Config& c) { c.elementSizes = {8}; }), "an element must have 1 to 7 bytes");
    EXPECT_EQ(refusal([](Config& c) { c.checksumSize = 5; }), "a checksum must have 1 to 4 bytes");
    EXPECT_EQ(refusal([](Config& c) { c.checksumSize = 0; }), "a checksum must have 1 to 4 bytes");
}

TEST(CcpEcuConfig, HasTextsThatALengthByteCanCount) {
    const std::string tooLong(256, 'x');
    EXPECT_EQ(refusal([&](Config& c) { c.id = tooLong; }), "the identification must have at most 255 bytes");
    EXPECT_EQ(refusal([&](Config& c) { c.actionServices[1].result = tooLong; }),
              "a service must return at most 255 bytes");
}

TEST(CcpEcuConfig, KeepsSegmentsSignalsAndFlashTogether) {
    EXPECT_EQ(refusal([](Config& c) { c.memory[0].pages.push_back(c.memory[0].pages[0]); }),
              "a segment must have one page");
    EXPECT_EQ(refusal([](Config& c) {
                  c.signals.resize(1);
                  c.signals[0].address = 0x10FE;
              }),
              "a signal lies outside the memory");
    EXPECT_NE(refusal([](Config& c) { c.flash.sectors[0].base = 0x5000; }), "");
}

}  // namespace
}  // namespace sim::test
