#include "sim/Signals.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <utility>

namespace sim {
namespace {

/// Bytes of each `SignalType`, in the order of the enumeration.
constexpr std::size_t kTypeSizes[] = {1, 1, 2, 2, 4, 4, 8, 8, 4, 8};

std::size_t typeSize(SignalType type) {
    return kTypeSizes[static_cast<std::size_t>(type)];
}

/// Conversion of a double that lies outside the range of an integer is undefined, so cut it first.
std::uint64_t toInteger(double value) {
    constexpr double kEdge = 9.2e18;
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(std::clamp(value, -kEdge, kEdge)));
}

std::uint64_t encode(SignalType type, double value) {
    switch (type) {
        case SignalType::f32:
            return std::bit_cast<std::uint32_t>(static_cast<float>(value));
        case SignalType::f64:
            return std::bit_cast<std::uint64_t>(value);
        default:
            return std::isnan(value) ? 0 : toInteger(value);
    }
}

std::uint64_t counterNumber(SignalType type, std::uint64_t n) {
    const bool isFloat = type == SignalType::f32 || type == SignalType::f64;
    return isFloat ? encode(type, static_cast<double>(n)) : n;
}

double analogue(const Signal& signal, std::uint64_t n) {
    const std::uint64_t length = std::max(signal.length, 1U);
    const auto place = static_cast<double>(n % length);
    switch (signal.kind) {
        case SignalKind::sine:
            return signal.offset +
                   signal.amplitude * std::sin(2.0 * std::numbers::pi * place / static_cast<double>(length));
        case SignalKind::ramp:
            return signal.offset + signal.step * place;
        default:
            return signal.offset;
    }
}

std::vector<std::uint8_t> stateBytes(const Signal& signal, std::uint64_t n) {
    std::vector<std::uint8_t> bytes(1 + kStateTextSize);
    if (!signal.texts.empty()) {
        const std::size_t states = std::min<std::size_t>(signal.texts.size(), 256);
        const auto state = static_cast<std::size_t>(n / std::max(signal.length, 1U) % states);
        bytes[0] = static_cast<std::uint8_t>(state);
        const std::string& text = signal.texts[state];
        std::copy_n(text.begin(), std::min(text.size(), kStateTextSize), bytes.begin() + 1);
    }
    return bytes;
}

}  // namespace

std::size_t signalSize(const Signal& signal) {
    return signal.kind == SignalKind::stateMachine ? 1 + kStateTextSize : typeSize(signal.type);
}

std::vector<std::uint8_t> signalBytes(const Signal& signal, std::uint64_t eventIndex) {
    const std::uint64_t n = eventIndex + signal.phase;
    if (signal.kind == SignalKind::stateMachine) {
        return stateBytes(signal, n);
    }
    const std::uint64_t number = signal.kind == SignalKind::counter
                                     ? counterNumber(signal.type, n)
                                     : encode(signal.type, analogue(signal, n));
    std::vector<std::uint8_t> bytes(typeSize(signal.type));
    putNumber(bytes, number, signal.byteOrder);
    return bytes;
}

Signals::Signals(std::vector<Signal> signals) : m_signals(std::move(signals)), m_written(m_signals.size()) {}

void Signals::update(Memory& memory, std::span<const std::uint64_t> eventIndices) {
    for (std::size_t i = 0; i < m_signals.size(); ++i) {
        const Signal& signal = m_signals[i];
        const std::uint64_t index = signal.event < eventIndices.size() ? eventIndices[signal.event] : 0;
        if (m_written[i] == index) {
            continue;
        }
        m_written[i] = index;
        // A signal outside the memory moves on unseen; XcpEcuConfig refuses one.
        static_cast<void>(
            memory.poke(MemoryView::ecu, signal.address, signal.extension, signalBytes(signal, index)));
    }
}

}  // namespace sim
