#include "host/ValueProof.h"

#include "host/RawValue.h"
#include "host/SimulatedEcu.h"

#include <algorithm>

namespace host {

bool isCounter(const SignalRecord& signal) {
    using sim::SignalType;
    const SignalType type = signal.first.type;
    return signal.first.kind == sim::SignalKind::counter && type != SignalType::f32 &&
           type != SignalType::f64;
}

bool namesEvent(const SignalRecord& signal) {
    return isCounter(signal) && signal.elementSize() >= 4;
}

std::uint64_t namedEvent(const SignalRecord& signal, std::span<const std::uint8_t> bytes) {
    const std::size_t size = std::min(signal.elementSize(), bytes.size());
    return rawBits(bytes.first(size), signal.first.byteOrder) - signal.first.phase;
}

std::optional<std::uint64_t> findEvent(const SignalRecord& signal, std::span<const std::uint8_t> bytes,
                                       EventSpan span) {
    if (namesEvent(signal)) {
        const std::uint64_t event = namedEvent(signal, bytes);
        span = {std::max(span.first, event), std::min(span.last, event)};
    }
    for (std::uint64_t event = span.first; event <= span.last; ++event) {
        const std::vector<std::uint8_t> expected = signalBytesAt(signal, event);
        if (std::equal(bytes.begin(), bytes.end(), expected.begin(), expected.end())) {
            return event;
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> findReadEvent(const SignalRecord& signal, std::span<const std::uint8_t> bytes,
                                           EventSpan span, std::size_t piece) {
    if (bytes.size() <= piece) {
        return findEvent(signal, bytes, span);
    }
    const auto holds = [&](std::uint64_t event, std::size_t from) {
        const std::vector<std::uint8_t> had = signalBytesAt(signal, event);
        const std::span<const std::uint8_t> part = bytes.subspan(from, std::min(piece, bytes.size() - from));
        return had.size() == bytes.size() &&
               std::equal(part.begin(), part.end(), had.begin() + static_cast<std::ptrdiff_t>(from));
    };
    for (std::size_t from = 0; from < bytes.size(); from += piece) {
        while (!holds(span.first, from)) {
            if (span.first >= span.last) {
                return std::nullopt;
            }
            ++span.first;
        }
    }
    return span.first;
}

}  // namespace host
