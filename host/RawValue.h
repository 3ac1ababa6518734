/// @file
/// Bytes of an ECU as numbers and texts.
#pragma once

#include "host/ConfigRecords.h"

#include <cstdint>
#include <span>
#include <string>

namespace host {

/// The number at the start of @p bytes: the first element of a signal, the state of a state machine.
/// @return 0 if there are too few bytes
[[nodiscard]] double rawNumber(const sim::Signal& signal, std::span<const std::uint8_t> bytes);

/// The bytes of an unsigned number, at most 8 of them.
[[nodiscard]] std::uint64_t rawBits(std::span<const std::uint8_t> bytes, sim::ByteOrder order);

/// The text behind the state of a state machine; empty if there is none.
[[nodiscard]] std::string stateText(std::span<const std::uint8_t> bytes);

/// "01 0a ff", the first 16 bytes of @p bytes.
[[nodiscard]] std::string hexText(std::span<const std::uint8_t> bytes);

}  // namespace host
