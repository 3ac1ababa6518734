// A small configuration without a mistake, and mistakes to make in it.
#pragma once

#include "host/Config.h"
#include "tests/host/Program.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>

namespace host_test {

// A small file without a mistake. The line numbers below count from its first line.
inline const std::string kGood = R"(schema = 1
[demo]
seconds = 2
silenced = "b"
[[bus]]
name = "one"
channel = 3
nominal_rate = 500_000
[[bus]]
name = "two"
channel = 4
nominal_rate = 1_000_000
data_rate = 4_000_000
[[ecu]]
name = "a"
bus = "one"
command_id = 0x600
response_id = 0x601
byte_order = "little"
commands = [0xF8, 0xDA]
timeouts = { command_ms = 50, long_ms = 900, retries = 3, retry_delay_ms = 7, status_period_ms = 400 }
security = { seed_key = "sim:", lock = [{ resource = "daq", seed_length = 9 }] }
daq = { identification = "relative word", max_entry_size = 6, max_odts = 40, max_entries = 90, timestamp_size = 2, packing = "whole" }
event = [{ name = "fast", cycle = 5, unit = "ms", priority = 9 }, { name = "slow", cycle = 2, unit = "100ms" }]
segment = [{ address = 0x1000, size = 0x100, writable = true }, { address = 0x2000, size = 0x10 }]
signals = [
    { name = "count", kind = "counter", type = "u32", event = "fast", address = 0x1000, phase = 4 },
    { name = "wave", kind = "sine", type = "f32", event = "slow", address = 0x1010, elements = 3, offset = 1.5, amplitude = 2, length = 8 },
    { name = "mode", kind = "state", event = "fast", address = 0x1020, length = 10, texts = ["off", "on"] },
    { name = "slope", kind = "ramp", type = "i16", event = "fast", address = 0x1040, step = -3, length = 5 },
    { name = "fixed", kind = "constant", type = "u8", event = "slow", address = 0x2000, offset = 77 },
]
variables = [
    { name = "count", signal = "count", unit = "n" },
    { name = "wave", signal = "wave", factor = 0.5, offset = -1, period_ms = 20 },
    { name = "raw", address = 0x1050, size = 3, event = "slow" },
]
[[ecu]]
name = "b"
bus = "two"
command_id = 0x18DA0001
response_id = 0x18DA0002
extended = true
fd = true
byte_order = "big"
max_cto = 32
max_dto = 48
block_mode = true
reject_zero_address = true
event = [{ name = "fast", cycle = 100, unit = "us" }]
variables = [{ name = "none", address = 0, size = 2, event = "fast" }]
[[ecu]]
name = "c"
protocol = "ccp"
bus = "one"
station_address = 0x1234
command_id = 0x700
response_id = 0x701
byte_order = "big"
commands = [0x0D]
checksum = "add12"
timeouts = { command_ms = 40, retries = 2, retry_delay_ms = 3, status_period_ms = 100 }
security = { seed_key = "sim:", lock = [{ resource = "daq" }, { resource = "programming" }] }
event = [{ name = "fast", cycle = 5, unit = "ms" }, { name = "slow", cycle = 2, unit = "100ms" }]
daq = { packing = "bytes", list = [{ odts = 3, first_pid = 4, events = ["slow", "fast"], id = 0x702 }, { odts = 2, first_pid = 7 }] }
flash = { sector_size = 0x100, erase_ms = 7, program_us = 90 }
segment = [{ address = 0x1000, size = 0x100 }, { kind = "calibration", address = 0x2000, reference_address = 0x3000, size = 0x80 }, { kind = "flash", address = 0x8000, size = 0x400 }]
parameters = [{ name = "gain", type = "i16", address = 0x207E, value = -2 }, { name = "slope", type = "f32", address = 0x2000, value = 1.5 }]
)";

inline host::Config load(const std::string& content) {
    return host::loadConfig(TempFile(content).path());
}

// One mistake: what is replaced in the good file, and the message without the file's name.
struct Mistake {
    std::string name;
    std::string what;
    std::string with;
    std::string message;
};

inline void PrintTo(const Mistake& mistake, std::ostream* out) {
    *out << mistake.name;
}

// Reads the good file with the mistake in it, and holds the error against the message.
inline void expectNamed(const Mistake& mistake) {
    const TempFile file(replaced(kGood, mistake.what, mistake.with));
    try {
        static_cast<void>(host::loadConfig(file.path()));
        FAIL() << "no error";
    } catch (const host::ConfigError& error) {
        EXPECT_THAT(error.what(), ::testing::StartsWith(file.path() + mistake.message));
    }
}

inline std::string mistakeName(const ::testing::TestParamInfo<Mistake>& row) {
    return row.param.name;
}

}  // namespace host_test
