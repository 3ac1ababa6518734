/// @file
/// Proves that values are those that a simulated ECU had.
#pragma once

#include "host/ConfigRecords.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace host {

/// The events of a channel, by their numbers, in one of which a value was taken.
struct EventSpan {
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

/// The first event of @p span after which @p signal looked like @p bytes; none if it never did.
[[nodiscard]] std::optional<std::uint64_t> findEvent(const SignalRecord& signal,
                                                     std::span<const std::uint8_t> bytes, EventSpan span);

/// As `findEvent`, for bytes that were read @p piece bytes at a time, one piece after the other: the ECU may
/// have moved on between two of them. @return the event of the last piece
[[nodiscard]] std::optional<std::uint64_t> findReadEvent(const SignalRecord& signal,
                                                         std::span<const std::uint8_t> bytes, EventSpan span,
                                                         std::size_t piece);

/// Whether a signal counts the events of its channel in 4 bytes or more, so that its value names the event.
[[nodiscard]] bool namesEvent(const SignalRecord& signal);

/// The event that a value of such a signal names.
[[nodiscard]] std::uint64_t namedEvent(const SignalRecord& signal, std::span<const std::uint8_t> bytes);

/// Whether a signal is a counter of whole numbers.
[[nodiscard]] bool isCounter(const SignalRecord& signal);

}  // namespace host
