// Random frames against the simulated CCP ECU: it must stand whatever a master sends.
#include "tests/sim/CcpEcuTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace sim::test {
namespace {

/// The seed of the environment, so that a failure can be run again, or a fresh one.
std::uint32_t seedOfRun() {
    const char* given = std::getenv("TALVEX_SEED");
    return given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0))
                            : std::random_device{}();
}

CcpEcuConfig randomCcpEcu(std::mt19937& random) {
    CcpEcuConfig config = smallCcpEcu();
    config.byteOrder = random() % 2 == 0 ? ByteOrder::intel : ByteOrder::motorola;
    config.checksum = static_cast<XcpChecksum>(1 + random() % 9);
    config.checksumSize = static_cast<std::uint8_t>(1 + random() % 4);
    config.busy = random() % 2 == 0 ? CcpBusy::late : CcpBusy::refused;
    config.flash.programTime = random() % 2 * kMs;
    config.cutsLastOdt = random() % 2 == 0;
    config.resumeSupported = random() % 2 == 0;
    config.id = "name";
    config.diagServices[0x0101] = {.result = "result"};
    config.diagServices[0x0000] = {.result = ""};
    if (random() % 4 == 0) {
        config.locks = {{.resource = ccp::kCal}, {.resource = ccp::kPgm, .seedLength = 1}};
    }
    config.elementSizes = {1, 2, 3, 4, 5, 6, 7};
    return config;
}

/// Bytes that often mean something: small numbers, addresses of the small ECU, and anything.
std::uint8_t usefulByte(std::mt19937& random) {
    static constexpr std::uint8_t kUseful[] = {0, 0, 0, 1, 1, 2, 3, 0x10, 0x40, 0xFF};
    return random() % 4 == 0 ? static_cast<std::uint8_t>(random()) : kUseful[random() % 10];
}

/// Mostly commands of CCP, in a frame of any length of CAN or, seldom, CAN FD.
Frame randomCro(std::mt19937& random) {
    Frame frame;
    frame.id = 0x700;
    frame.fd = random() % 32 == 0;
    frame.length = static_cast<std::uint8_t>(random() % 2 == 0 ? 8 : random() % (frame.fd ? 65 : 9));
    for (std::size_t i = 0; i < frame.length; ++i) {
        frame.data[i] = usefulByte(random);
    }
    frame.data[0] = static_cast<std::uint8_t>(random() % 8 == 0 ? random() : random() % 0x24);
    return frame;
}

bool endsSession(const Frame& frame) {
    return frame.data[0] == 0x07 || frame.data[0] == 0x01;
}

/// What a station may put on the bus: frames of 8 bytes, each a response, an event or an ODT of a list.
void expectPlausible(const Frame& frame) {
    ASSERT_EQ(frame.length, 8);
    ASSERT_FALSE(frame.fd);
    const std::uint8_t pid = frame.data[0];
    ASSERT_TRUE(pid == 0xFF || pid <= 0x01 || (pid >= 0x10 && pid <= 0x12) || pid == 0x20) << int{pid};
}

void bombard(CcpBench& bench, std::mt19937& random, int frames) {
    for (int i = 0; i < frames; ++i) {
        Frame frame = randomCro(random);
        if (i % 64 == 0 || (endsSession(frame) && random() % 8 != 0)) {
            frame = frameOf(0x700, "01 00 01 00");
        }
        bench.ecu.onFrame(frame, bench.port.now());
        if (i % 16 == 0) {
            bench.port.runUntil(bench.port.now() + 5 * kMs);
        }
        for (const Frame& sent : bench.port.sent) {
            ASSERT_NO_FATAL_FAILURE(expectPlausible(sent));
        }
        bench.port.sent.clear();
    }
}

TEST(CcpEcuRobustness, StandsAHundredThousandRandomFrames) {
    const std::uint32_t seed = seedOfRun();
    SCOPED_TRACE("TALVEX_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    std::uint64_t dtos = 0;
    for (int round = 0; round < 50; ++round) {
        CcpBench bench(randomCcpEcu(random));
        ASSERT_NO_FATAL_FAILURE(bombard(bench, random, 2000));
        bench.pass(1000 * kMs);
        EXPECT_EQ(bench.ask("01 55 01 00"), "ff 00 55 00 00 00 00 00");
        dtos += bench.ecu.counters().dtos;
    }
    EXPECT_GT(dtos, 0U) << "the frames must get as far as a running measurement";
}

}  // namespace
}  // namespace sim::test
