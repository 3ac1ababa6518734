/// @file
/// Bytes of a variable and what they are in its unit.
#pragma once

#include "host/ConfigRecords.h"
#include "host/JsonLines.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

/// "u8" to "f64", "bytes".
[[nodiscard]] std::string valueTypeText(ValueType type);

/// The type of that name, but not "bytes".
[[nodiscard]] std::optional<ValueType> findValueType(const std::string& text);

/// Numbers that @p variable holds behind each other; 0 for one of bytes.
[[nodiscard]] std::size_t elementCount(const VariableRecord& variable);

/// The number of that element in the unit of @p variable, for statistics and plots: 64 bits lose some.
/// @return not a number if there is no such element in @p bytes
[[nodiscard]] double physicalNumber(const VariableRecord& variable, sim::ByteOrder order,
                                    std::span<const std::uint8_t> bytes, std::size_t element);

/// What @p bytes are in the unit of @p variable, with as many digits as they carry: "12.3", "[1, 2, 3]", or
/// hexadecimal behind "0x" where they are no number.
[[nodiscard]] std::string physicalText(const VariableRecord& variable, sim::ByteOrder order,
                                       std::span<const std::uint8_t> bytes);

/// The same for programs: a number, an array of numbers, or null where they are none.
[[nodiscard]] Json physicalJson(const VariableRecord& variable, sim::ByteOrder order,
                                std::span<const std::uint8_t> bytes);

/// Bytes to write.
struct RawValue {
    std::vector<std::uint8_t> bytes;
    bool exact = true;  ///< they are what was asked for, else the nearest that the type can hold
};

/// The bytes for @p text: a number in the unit of @p variable, several with commas, or behind "0x" the bytes
/// themselves in the order of their addresses.
/// @throws HostError ExitCode::usage if @p variable cannot hold that; the message says what it can
[[nodiscard]] RawValue parsePhysical(const VariableRecord& variable, sim::ByteOrder order,
                                     const std::string& text);

/// @p digits, two for each byte, as bytes; nothing if they are none.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> bytesOfDigits(const std::string& digits);

}  // namespace host
