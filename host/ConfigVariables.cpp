// Signals and variables of an ECU.
#include "host/ConfigEcu.h"
#include "host/PhysicalValue.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace host {
namespace {

constexpr NumberRange kAddress{0, 0xFFFFFFFF};
constexpr std::int64_t kMostVariableSize = 0xFFFF;

const Words kKinds{"counter", "sine", "ramp", "constant", "state"};

void readShape(ConfigTable& table, sim::Signal& signal) {
    using sim::SignalKind;
    if (signal.kind != SignalKind::stateMachine) {
        signal.type = static_cast<sim::SignalType>(table.word("type", typeWords()));
    }
    if (signal.kind != SignalKind::counter && signal.kind != SignalKind::stateMachine) {
        signal.offset = table.real("offset", 0.0);
    }
    if (signal.kind == SignalKind::sine) {
        signal.amplitude = table.real("amplitude", 1.0);
    }
    if (signal.kind == SignalKind::ramp) {
        signal.step = table.real("step", 1.0);
    }
    if (signal.kind != SignalKind::counter && signal.kind != SignalKind::constant) {
        signal.length = table.as<std::uint32_t>("length", {1, 1'000'000});
    }
}

void readStates(ConfigTable& table, sim::Signal& signal) {
    signal.texts = table.texts("texts");
    const bool fit = std::all_of(signal.texts.begin(), signal.texts.end(),
                                 [](const std::string& text) { return text.size() <= sim::kStateTextSize; });
    if (signal.texts.empty() || signal.texts.size() > 256 || !fit) {
        table.fail("texts", fmt::format("give 1 to 256 texts of at most {} bytes", sim::kStateTextSize));
    }
}

SignalRecord readSignal(ConfigTable& table, const EcuRecord& ecu) {
    SignalRecord record;
    record.place = table.place();
    sim::Signal& signal = record.first;
    signal.name = table.text("name");
    signal.kind = static_cast<sim::SignalKind>(table.word("kind", kKinds));
    signal.event = static_cast<std::uint16_t>(table.word("event", eventNames(ecu)));
    signal.address = table.as<std::uint32_t>("address", kAddress);
    signal.byteOrder = ecu.byteOrder;
    signal.phase = table.as<std::uint64_t>("phase", {0, 1'000'000}, 0);
    readShape(table, signal);
    if (signal.kind == sim::SignalKind::stateMachine) {
        readStates(table, signal);
    } else {
        record.elements = table.as<std::uint32_t>("elements", {1, 1024}, 1);
    }
    table.finish();
    return record;
}

/// Finds the signal that a variable names.
std::size_t signalIndex(ConfigTable& table, const EcuRecord& ecu) {
    const std::string name = table.text("signal");
    const auto found =
        std::find_if(ecu.signals.begin(), ecu.signals.end(),
                     [&name](const SignalRecord& signal) { return signal.first.name == name; });
    if (found == ecu.signals.end()) {
        table.fail("signal", fmt::format("found \"{}\"; give the name of a signal of this ECU", name));
    }
    return static_cast<std::size_t>(std::distance(ecu.signals.begin(), found));
}

/// The bytes that the file describes: of a type, of a size, or so many of a type.
void readShape(ConfigTable& table, VariableRecord& variable) {
    Words types = typeWords();
    types.emplace_back("bytes");
    const auto bytes = static_cast<std::size_t>(ValueType::bytes);
    variable.type = static_cast<ValueType>(table.word("type", types, bytes));
    const std::uint32_t element = valueSize(variable.type);
    variable.size = variable.type == ValueType::bytes
                        ? table.as<std::uint32_t>("size", {1, kMostVariableSize})
                        : table.as<std::uint32_t>("size", {1, kMostVariableSize}, element);
    if (variable.size % element != 0) {
        table.fail("size", fmt::format("found {}; give a multiple of {}, the size of the type", variable.size,
                                       element));
    }
}

/// Without an event channel a variable is polled.
void readEvent(ConfigTable& table, VariableRecord& variable, const EcuRecord& ecu) {
    if (table.has("event")) {
        variable.event = static_cast<std::uint16_t>(table.word("event", eventNames(ecu)));
    } else {
        variable.hasEvent = false;
        variable.periodMs = kDefaultPeriodMs;
    }
}

/// What a signal is; the text behind the state of a state machine makes it bytes.
ValueType typeOf(const sim::Signal& signal) {
    return signal.kind == sim::SignalKind::stateMachine ? ValueType::bytes
                                                        : static_cast<ValueType>(signal.type);
}

/// A variable lies where its signal lies and is measured when it moves, or as the file says.
void readLocation(ConfigTable& table, VariableRecord& variable, const EcuRecord& ecu) {
    if (!table.has("signal")) {
        variable.address = table.as<std::uint32_t>("address", kAddress);
        variable.extension = table.as<std::uint8_t>("extension", {0, 0xFF}, 0);
        readShape(table, variable);
        readEvent(table, variable, ecu);
        return;
    }
    variable.signal = signalIndex(table, ecu);
    const SignalRecord& signal = ecu.signals[*variable.signal];
    variable.type = typeOf(signal.first);
    variable.address = signal.first.address;
    variable.extension = signal.first.extension;
    variable.size = static_cast<std::uint32_t>(signal.size());
    variable.event = signal.first.event;
}

VariableRecord readVariable(ConfigTable& table, const EcuRecord& ecu) {
    VariableRecord variable;
    variable.place = table.place();
    variable.name = table.text("name");
    readConversion(table, variable);
    readLocation(table, variable, ecu);
    // One that has no event channel either would not be measured at all.
    const std::int64_t least = variable.periodMs > 0 ? 1 : 0;
    variable.periodMs = table.as<std::uint16_t>("period_ms", {least, 60'000}, variable.periodMs);
    table.finish();
    if (variable.size % ecu.addressGranularity != 0) {
        table.fail("size", fmt::format("is {}; give a multiple of the address_granularity, {}", variable.size,
                                       ecu.addressGranularity));
    }
    return variable;
}

}  // namespace

void readConversion(ConfigTable& table, VariableRecord& variable) {
    variable.unit = table.text("unit", "");
    variable.factor = table.real("factor", 1.0);
    variable.offset = table.real("offset", 0.0);
    if (variable.factor == 0.0) {
        table.fail("factor", "found 0, which no raw value can be told from; give another number");
    }
}

const Words& typeWords() {
    static const Words kTypes = valueTypeNames();
    return kTypes;
}

std::vector<SignalRecord> readSignals(ConfigTable& ecuTable, const EcuRecord& ecu) {
    std::vector<SignalRecord> signals;
    for (ConfigTable& table : ecuTable.tables("signals")) {
        signals.push_back(readSignal(table, ecu));
    }
    return signals;
}

std::vector<VariableRecord> readVariables(ConfigTable& ecuTable, const EcuRecord& ecu) {
    std::vector<VariableRecord> variables;
    for (ConfigTable& table : ecuTable.tables("variables")) {
        variables.push_back(readVariable(table, ecu));
    }
    return variables;
}

}  // namespace host
