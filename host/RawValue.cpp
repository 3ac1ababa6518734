#include "host/RawValue.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <bit>

namespace host {

std::uint64_t rawBits(std::span<const std::uint8_t> bytes, sim::ByteOrder order) {
    return sim::getNumber(bytes.first(std::min<std::size_t>(bytes.size(), 8)), order);
}

double rawNumber(const sim::Signal& signal, std::span<const std::uint8_t> bytes) {
    using sim::SignalType;
    const bool isState = signal.kind == sim::SignalKind::stateMachine;
    const std::size_t size = isState ? 1 : sim::signalSize(signal);
    if (bytes.size() < size) {
        return 0.0;
    }
    const std::uint64_t bits = rawBits(bytes.first(size), signal.byteOrder);
    switch (isState ? SignalType::u8 : signal.type) {
        case SignalType::i8:
            return static_cast<std::int8_t>(bits);
        case SignalType::i16:
            return static_cast<std::int16_t>(bits);
        case SignalType::i32:
            return static_cast<std::int32_t>(bits);
        case SignalType::i64:
            return static_cast<double>(static_cast<std::int64_t>(bits));
        case SignalType::f32:
            return std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        case SignalType::f64:
            return std::bit_cast<double>(bits);
        default:
            return static_cast<double>(bits);
    }
}

std::string stateText(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        return {};
    }
    const std::span<const std::uint8_t> text = bytes.subspan(1);
    return {text.begin(), std::find(text.begin(), text.end(), std::uint8_t{0})};
}

std::string hexText(std::span<const std::uint8_t> bytes) {
    const auto shown = bytes.first(std::min<std::size_t>(bytes.size(), 16));
    return fmt::format("{:02x}{}", fmt::join(shown, " "), shown.size() < bytes.size() ? " .." : "");
}

}  // namespace host
