// Random frames against the simulated XCP ECU: it must stand whatever a master sends.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace sim::test {
namespace {

/// The seed of the environment, so that a failure can be run again, or a fresh one.
std::uint32_t chooseSeed() {
    const char* given = std::getenv("TALVEX_SEED");
    return given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0))
                            : std::random_device{}();
}

XcpEcuConfig randomEcu(std::mt19937& random) {
    static constexpr std::uint8_t kGranularities[] = {1, 2, 4};
    static constexpr std::uint8_t kTimestamps[] = {0, 1, 2, 4};
    XcpEcuConfig config = smallEcu(kGranularities[random() % 3]);
    config.byteOrder = random() % 2 == 0 ? ByteOrder::intel : ByteOrder::motorola;
    config.fd = random() % 2 == 0;
    config.maxCto = static_cast<std::uint8_t>(config.fd ? 8 + random() % 57 : 8);
    config.maxDto = static_cast<std::uint8_t>(config.fd ? 8 + random() % 57 : 8);
    config.slaveBlockMode = random() % 2 == 0;
    config.masterBlockMode = random() % 2 == 0;
    config.maxBs = 20;
    config.memory[0].calibration = true;
    config.memory[0].pages.push_back(config.memory[0].pages[0]);
    config.freezeSupported = true;
    config.resources |= xcp::kPgm;
    config.program.flash.sectors = {{.base = 0x2000, .size = 8},
                                    {.base = 0x2000U + 8U / config.granularity, .size = 8}};
    config.program.flash.programTime = random() % 2 * kMs;
    config.program.answer = static_cast<XcpFlashAnswer>(random() % 3);
    config.program.masterBlockMode = random() % 2 == 0;
    config.program.maxBs = 20;
    config.program.functionalMode = random() % 2 == 0;
    config.program.takesDownloadNext = random() % 2 == 0;
    config.checksum = static_cast<XcpChecksum>(1 + random() % 9);
    config.daq.dynamic = random() % 2 == 0;
    if (!config.daq.dynamic) {
        config.daq.lists = {{.odts = 3, .entriesPerOdt = 3}, {.odts = 2, .entriesPerOdt = 2}};
    }
    config.daq.idField = static_cast<XcpIdField>(random() % 4);
    config.daq.maxEntrySize = 255;
    config.daq.timestampSize = kTimestamps[random() % 4];
    config.daq.pidOffSupported = true;
    config.daq.counterSupported = true;
    config.ids[0] = "name";
    return config;
}

/// Bytes that often mean something: small numbers, addresses of the small ECU, and anything.
std::uint8_t randomByte(std::mt19937& random) {
    static constexpr std::uint8_t kUseful[] = {0, 0, 0, 1, 1, 2, 3, 0x10, 0xFF};
    return random() % 4 == 0 ? static_cast<std::uint8_t>(random()) : kUseful[random() % 9];
}

Frame randomFrame(std::mt19937& random, const XcpEcuConfig& config) {
    Frame frame;
    frame.id = config.masterId;
    frame.length = static_cast<std::uint8_t>(random() % (config.fd ? 65 : 9));
    for (std::size_t i = 0; i < frame.length; ++i) {
        frame.data[i] = randomByte(random);
    }
    frame.data[0] = static_cast<std::uint8_t>(0xC0 + random() % 0x40);
    return frame;
}

/// Sends a connect now and then, and drops the commands that would end the session most of the time.
void bombard(Bench& bench, std::mt19937& random, int frames) {
    for (int i = 0; i < frames; ++i) {
        Frame frame = randomFrame(random, bench.ecu.config());
        if (i % 64 == 0 || ((frame.data[0] == 0xFE || frame.data[0] == 0xFF) && random() % 8 != 0)) {
            frame.data = {0xFF, 0x00};
            frame.length = 2;
        }
        bench.ecu.onFrame(frame, bench.port.now());
        if (i % 16 == 0) {
            bench.port.runUntil(bench.port.now() + 5 * kMs);
        }
        for (const Frame& sent : bench.port.sent) {
            ASSERT_LE(sent.length, bench.ecu.config().fd ? 64 : 8);
        }
        bench.port.sent.clear();
    }
}

/// Starts list 0, so that the random frames meet a running measurement.
std::string startDaq(Bench& bench) {
    const bool intel = bench.ecu.config().byteOrder == ByteOrder::intel;
    std::vector<std::string> commands{"ff 00"};
    if (bench.ecu.config().daq.dynamic) {
        commands.insert(commands.end(), {"d6", intel ? "d5 00 01 00" : "d5 00 00 01", "d4 00 00 00 02",
                                         "d3 00 00 00 00 02", "d3 00 00 00 01 02"});
    }
    commands.insert(commands.end(),
                    {"e2 00 00 00 00 00", intel ? "e1 ff 01 00 00 10 00 00" : "e1 ff 01 00 00 00 10 00",
                     "e0 00 00 00 00 00 01 00", "de 01 00 00"});
    return bench.setUp(commands);
}

TEST(XcpEcuRobustness, StandsAHundredThousandRandomFrames) {
    const std::uint32_t seed = chooseSeed();
    SCOPED_TRACE("TALVEX_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 50; ++round) {
        Bench bench(randomEcu(random));
        ASSERT_EQ(startDaq(bench), "");
        EXPECT_NE(bench.pass(10 * kMs), "");
        bombard(bench, random, 2000);
        bench.ask("ff 00");
        EXPECT_EQ(bench.ask("fc"), "fe 00");
    }
}

}  // namespace
}  // namespace sim::test
