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

}  // namespace host
