// Any text as a configuration of the host tool, and what the tool works out of those that it takes.
#include "host/Config.h"
#include "host/EcuSetup.h"
#include "host/IdPair.h"
#include "host/PlanPrint.h"
#include "sim/Signals.h"
#include "tests/fuzz/ScratchFile.h"

#include <limits>
#include <optional>
#include <string_view>

namespace {

/// What the library's planner can be given.
constexpr std::uint32_t kMostPackMode = 2;

/// @return nothing for a text that was refused, whose message was looked at
std::optional<host::Config> load(const std::string& path) {
    try {
        return host::loadConfig(path);
    } catch (const host::ConfigError& error) {
        const std::string_view message = error.what();
        fuzz::require(message.starts_with(path + ":"), "a mistake names its file");
        fuzz::require(message.size() > path.size() + 2, "a mistake is described");
        return std::nullopt;
    }
}

void checkRecords(const host::Config& config) {
    for (const EcuProtoCfg& cfg : host::protoCfgs(config)) {
        const bool ccp = cfg.protoType == 0;
        fuzz::require((ccp ? cfg.ccp.packMode : cfg.xcp.packMode) <= kMostPackMode, "a pack mode is one");
        fuzz::require(cfg.maxCto >= 8 && cfg.maxCto <= 64, "a command has 8 to 64 bytes");
        fuzz::require(cfg.maxDto >= 8 && cfg.maxDto <= 64, "a packet has 8 to 64 bytes");
    }
    try {
        fuzz::require(host::distinct(host::idPairs(config)).size() <= config.ecus.size(),
                      "an ECU has a pair of identifiers");
    } catch (const host::IdPairError&) {
        return;  // two buses may have the same identifiers, but a log does not tell buses apart
    }
}

void checkEcu(const host::EcuRecord& ecu) {
    for (const host::SignalRecord& signal : ecu.signals) {
        for (const std::uint64_t index : {std::uint64_t{0}, std::numeric_limits<std::uint64_t>::max()}) {
            fuzz::require(sim::signalBytes(signal.first, index).size() == signal.elementSize(),
                          "a signal has the bytes that it takes");
        }
    }
    for (const host::ParameterRecord& parameter : ecu.parameters) {
        fuzz::require(parameter.bytes.size() == parameter.size, "a parameter has a value");
    }
}

/// Every variable is somewhere in the plan.
void checkPlan(const host::Config& config, std::size_t index, bool unlimited) {
    const host::EcuRecord& ecu = config.ecus[index];
    const host::EcuPlan plan = host::planMeasurement(config, index, ecu.variables, unlimited);
    std::size_t found = plan.polled.size() + plan.rejected.size();
    for (const host::PlannedList& list : plan.lists) {
        found += list.names.size();
    }
    fuzz::require(found >= ecu.variables.size(), "every variable is measured or rejected");
    fuzz::require(!host::planLines(config, {plan}).empty(), "a plan can be shown");
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    static ScratchFile file(".toml");
    const std::optional<host::Config> config = load(file.holding(input.rest()));
    if (!config) {
        return;
    }
    checkRecords(*config);
    for (std::size_t i = 0; i < config->ecus.size(); ++i) {
        checkEcu(config->ecus[i]);
        checkPlan(*config, i, false);
        checkPlan(*config, i, true);
    }
}

namespace {

const std::string kBus = "schema = 1\n[[bus]]\nname = \"b\"\nchannel = 0\nnominal_rate = 500_000\n";
const std::string kEcu =
    "[[ecu]]\nname = \"e\"\nbus = \"b\"\ncommand_id = 0x600\nresponse_id = 0x601\nbyte_order = \"big\"\n";
const std::string kEvent = "event = [{ name = \"f\", cycle = 5, unit = \"ms\" }]\n";

}  // namespace

std::vector<fuzz::Bytes> fuzz::seeds() {
    std::vector<Bytes> made{bytesOf("schema = 1\na.b.c.d = [[[[{ a.b = { c.d = 1 } }]]]]\n"),
                            bytesOf(kBus + "data_rate = 2_000_000\n" + kEcu + kEvent +
                                    "fd = true\nmax_cto = 64\nmax_dto = 48\nblock_mode = true\n")};
    for (const char* lines :
         {"", "variables = [{ name = \"v\", address = 16, size = 4, event = \"f\", period_ms = 5 }]\n",
          "variables = [{ name = \"v\", address = 16, type = \"f64\", size = 65528, factor = 1e-308 }]\n",
          "protocol = \"ccp\"\nstation_address = 0x39\nchecksum = \"add11\"\n"
          "daq.list = [{ odts = 3, first_pid = 4, id = 0x602, events = [\"f\"] }]\n",
          "timeouts = { command_ms = 60000, long_ms = 1, t1_ms = 2, t7_ms = 2, retries = 100, "
          "retry_delay_ms = 10000, synch_period_ms = 1, status_period_ms = 0 }\n",
          "security = { seed_key = \"sim:\", entry = \"f\", success = \"zero\", time_ms = 1, helper = \"h\", "
          "unlock = [\"daq\"], lock = [{ resource = \"daq\", seed_length = 124 }] }\n",
          "daq = { identification = \"relative word aligned\", packing = \"whole\", counter = true, "
          "timestamp_size = 4, timestamp_fixed = true, prescaler = 255 }\n",
          "daq = { packing = \"bytes\", dynamic = false, min_lists = 1, max_lists = 255, list = [\n"
          "    { odts = 1, odt_bytes = 1, first_pid = 0, id = 5, fixed_event = \"f\" }] }\n",
          "daq = { packing = \"fill\", entry_granularity = 4, max_entry_size = 60, poll_period_ms = 7 }\n",
          "flash = { sector_size = 16, erase_ms = 0, program_us = 0 }\n"
          "segment = [{ kind = \"flash\", address = 0, size = 0x1000 }, { kind = \"calibration\",\n"
          "    address = 0x8000, size = 16, paged = false, number = 1, checksum = \"none\" }]\n"
          "parameters = [{ name = \"p\", type = \"f32\", address = 0x8000, value = -1e300 }]\n",
          "segment = [{ address = 0, size = 0x10000, extension = 0, checksum_block = 7 }]\n"
          "signals = [{ name = \"s\", kind = \"sine\", type = \"u64\", event = \"f\", address = 0,\n"
          "    elements = 1024, offset = 1e308, amplitude = 1e308, length = 1000000, phase = 1000000 },\n"
          "    { name = \"t\", kind = \"state\", event = \"f\", address = 0xFF00, length = 1, texts = [\"\"] "
          "}]\n"
          "variables = [{ name = \"v\", signal = \"s\" }, { name = \"w\", signal = \"t\", unit = \"\" }]\n",
          "[demo]\nseconds = 3600.0\nsilenced = \"e\"\n"}) {
        made.push_back(bytesOf(kBus + kEcu + kEvent + lines));
    }
    return made;
}

/// Lines rather than keys: most of TOML ends with its line. A dictionary takes words of up to 64 bytes.
std::vector<fuzz::Bytes> fuzz::words() {
    std::vector<Bytes> made;
    for (const char* word : {"\n[[bus]]\nname = \"c\"\nchannel = 1\nnominal_rate = 1_000_000\n",
                             "\ndata_rate = 4_000_000\n",
                             "\nurl = \"socketcand://h:1/can0\"\n",
                             "\n[[ecu]]\nname = \"x\"\nbus = \"b\"\n",
                             "\ncommand_id = 0x7FF\nresponse_id = 0\n",
                             "\nbyte_order = \"little\"\n",
                             "\nprotocol = \"ccp\"\n",
                             "\nextended = true\n",
                             "\nfd = true\n",
                             "\nbit_rate_switch = false\n",
                             "\nbroadcast_id = 0x7FF\n",
                             "\npad_frames = true\npad_byte = 0xAA\n",
                             "\nmax_cto = 64\n",
                             "\nmax_dto = 64\n",
                             "\naccept_limits = true\n",
                             "\nmaster_block_mode = true\nmax_bs = 255\nmin_st = 1\n",
                             "\naddress_granularity = 4\n",
                             "\nreject_zero_address = true\n",
                             "\ncommands = [0xFB, 0x01]\n",
                             "\nchecksum = \"crc16 ccitt\"\n",
                             "\ndaq.packing = \"whole\"\n",
                             "\ndaq.packing = \"bytes\"\n",
                             "\ndaq.list = [{ odts = 1 }, { first_pid = 9 }]\n",
                             "\ndaq.first_list = 1\n",
                             "\ndaq.identification = \"relative byte\"\n",
                             "\ndaq.timestamp_size = 2\n",
                             "\ndaq.query_daq_sizes = false\n",
                             ", { name = \"g\", cycle = 255, unit = \"s\", max_lists = 0, ids = [3] }",
                             ", { name = \"y\", address = 0xFFFFFFFF, size = 65535 }",
                             ", { name = \"z\", address = 1, size = 7, event = \"f\" }",
                             ", { kind = \"ram\", address = 0xFFFF0000, size = 0x10000 }",
                             "reference_address = 0x9000, ",
                             "event = \"f\", ",
                             "fixed_event = \"f\", ",
                             "0xFFFFFFFF",
                             "-9223372036854775808",
                             "9223372036854775807",
                             "1e308",
                             "inf",
                             "nan",
                             "\"\"",
                             "\"\"\"",
                             "'''",
                             "[[",
                             "a.a.a.a.a.a.a.a.a.a.a.a.a.a.a.a.",
                             "[[[[[[[[[[[[[[[[",
                             "{a={a={a={a=",
                             "1979-05-27T07:32:00Z",
                             "\\u0000",
                             "\\U0010FFFF"}) {
        made.push_back(bytesOf(word));
    }
    return made;
}
