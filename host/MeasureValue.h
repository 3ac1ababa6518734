/// @file
/// Measured bytes as physical values, for people and for programs.
#pragma once

#include "host/ConfigRecords.h"
#include "host/JsonLines.h"
#include "host/PhysicalValue.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

/// One value: its elements as numbers, or bytes.
struct MeasureValue {
    std::vector<PhysicalNumber> numbers{};
    std::string hex{};  ///< of a variable that is bytes: two digits each

    /// The library delivered it short, so there is nothing to show.
    [[nodiscard]] bool missing() const { return numbers.empty() && hex.empty(); }

    /// What statistics are made of: the first element, if it is a finite number.
    [[nodiscard]] std::optional<double> first() const;
};

/// @p bytes of @p variable in physical units. A value without all its bytes is `missing`.
[[nodiscard]] MeasureValue measureValue(const VariableRecord& variable, sim::ByteOrder order,
                                        std::span<const std::uint8_t> bytes);

/// For a cell of a table of values: numbers with as many digits as they carry; elements with a blank between
/// them; nothing for what is no finite number, "nan" among elements.
[[nodiscard]] std::string cellText(const MeasureValue& value);

/// A number, an array of the elements if the variable has several, hexadecimal digits for bytes, null for
/// what is no finite number.
[[nodiscard]] Json jsonValue(const MeasureValue& value);

/// For people, in at most @p width characters.
[[nodiscard]] std::string shownText(const MeasureValue& value, std::size_t width);

}  // namespace host
