#include "host/Config.h"

#include "host/BusUrl.h"
#include "host/ConfigChecks.h"
#include "host/ConfigEcu.h"
#include "host/ConfigTable.h"
#include "host/HostError.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace host {
namespace {

/// Version of the file's form. Grows when an old file would be read wrongly.
constexpr std::int64_t kSchema = 1;

constexpr NumberRange kBitRate{10'000, 12'000'000};

void checkSchema(ConfigTable& root) {
    const std::int64_t schema = root.number("schema", {1, 1'000'000});
    if (schema != kSchema) {
        root.fail("schema", fmt::format("found {}; this program reads {}", schema, kSchema));
    }
}

void checkUrl(const ConfigTable& table, const std::string& url) {
    try {
        static_cast<void>(parseBusUrl(url));
    } catch (const HostError& error) {
        table.fail("url", error.what());
    }
}

BusRecord readBus(ConfigTable& table, const std::vector<BusRecord>& before) {
    BusRecord bus;
    bus.name = table.text("name");
    bus.channel = table.as<std::uint8_t>("channel", {0, 255});
    bus.nominalRate = table.as<std::uint32_t>("nominal_rate", kBitRate);
    if (table.has("data_rate")) {
        bus.dataRate = table.as<std::uint32_t>("data_rate", kBitRate);
    }
    if (table.has("url")) {
        bus.url = table.text("url");
        checkUrl(table, bus.url);
    }
    table.finish();
    for (const BusRecord& other : before) {
        if (other.name == bus.name) {
            table.fail("name", fmt::format("\"{}\" is the name of another bus; give each its own", bus.name));
        }
        if (other.channel == bus.channel) {
            table.fail("channel",
                       fmt::format("{} is the channel of another bus; give each its own", bus.channel));
        }
    }
    return bus;
}

std::vector<BusRecord> readBuses(ConfigTable& root) {
    std::vector<BusRecord> buses;
    for (ConfigTable& table : root.tables("bus")) {
        buses.push_back(readBus(table, buses));
    }
    if (buses.empty()) {
        root.fail("bus", "is missing; give at least one [[bus]]");
    }
    return buses;
}

std::vector<EcuRecord> readEcus(ConfigTable& root, const std::vector<BusRecord>& buses) {
    std::vector<EcuRecord> ecus;
    for (ConfigTable& table : root.tables("ecu")) {
        EcuRecord ecu = readEcu(table, buses);
        checkEcu(table, ecu, ecus);
        ecus.push_back(std::move(ecu));
    }
    if (ecus.empty()) {
        root.fail("ecu", "is missing; give at least one [[ecu]]");
    }
    return ecus;
}

DemoRecord readDemo(ConfigTable table, const std::vector<EcuRecord>& ecus) {
    DemoRecord demo;
    demo.seconds = table.real("seconds", demo.seconds);
    if (demo.seconds < kLeastSeconds || demo.seconds > kMostSeconds) {
        table.fail("seconds",
                   fmt::format("found {}; allowed are {} to {}", demo.seconds, kLeastSeconds, kMostSeconds));
    }
    Words names;
    std::transform(ecus.begin(), ecus.end(), std::back_inserter(names),
                   [](const EcuRecord& ecu) { return ecu.name; });
    demo.silenced = table.word("silenced", names, ecus.size() - 1);
    table.finish();
    return demo;
}

}  // namespace

Config loadConfig(const std::string& file) {
    const toml::table content = parseConfigFile(file);
    ConfigTable root(content, file, "");
    checkSchema(root);
    Config config;
    config.file = file;
    config.buses = readBuses(root);
    config.ecus = readEcus(root, config.buses);
    config.hasDemo = root.has("demo");
    config.demo = readDemo(root.table("demo"), config.ecus);
    root.finish();
    return config;
}

}  // namespace host
