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

/// The names of all types but "bytes".
[[nodiscard]] std::vector<std::string> valueTypeNames();

/// The type of that name, but not "bytes".
[[nodiscard]] std::optional<ValueType> findValueType(const std::string& text);

/// Numbers that @p variable holds behind each other; 0 for one of bytes.
[[nodiscard]] std::size_t elementCount(const VariableRecord& variable);

/// A number in the unit of its variable.
struct PhysicalNumber {
    std::string text;     ///< with as many digits as it carries: "12.3", "13.800", "nan"
    double number = 0.0;  ///< what the text says; 64 bits lose some
};

/// The numbers that @p bytes are; none for a variable of bytes.
[[nodiscard]] std::vector<PhysicalNumber> physicalNumbers(const VariableRecord& variable,
                                                          sim::ByteOrder order,
                                                          std::span<const std::uint8_t> bytes);

/// A number for programs: one of 64 bits stays whole, and what is not finite is null.
[[nodiscard]] Json numberJson(const PhysicalNumber& number);

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
