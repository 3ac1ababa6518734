#include "host/MeasureValue.h"

#include "host/ValueTable.h"
#include "sim/ByteOrder.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>

namespace host {
namespace {

/// The double that has the decimal digits of @p number: 0.985 stays 0.985 and does not get digits that the
/// ECU never had.
double asWritten(float number) {
    if (!std::isfinite(number)) {
        return number;
    }
    const std::string text = fmt::format("{}", number);
    double same = 0.0;
    std::from_chars(text.data(), text.data() + text.size(), same);
    return same;
}

template <class Narrow>
std::int64_t withSign(std::uint64_t bits) {
    return static_cast<Narrow>(bits);
}

MeasureNumber rawNumber(ValueType type, std::uint64_t bits) {
    switch (type) {
        case ValueType::i8:
            return withSign<std::int8_t>(bits);
        case ValueType::i16:
            return withSign<std::int16_t>(bits);
        case ValueType::i32:
            return withSign<std::int32_t>(bits);
        case ValueType::i64:
            return withSign<std::int64_t>(bits);
        case ValueType::f32:
            return asWritten(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
        case ValueType::f64:
            return std::bit_cast<double>(bits);
        default:
            return bits;
    }
}

double asDouble(const MeasureNumber& number) {
    return std::visit([](auto value) { return static_cast<double>(value); }, number);
}

MeasureNumber converted(const VariableRecord& variable, MeasureNumber raw) {
    // Compared exactly: only a conversion that changes nothing leaves integers alone.
    const bool asIs = !(variable.factor < 1.0) && !(variable.factor > 1.0) && !(variable.offset < 0.0) &&
                      !(variable.offset > 0.0);
    return asIs ? raw : MeasureNumber(asDouble(raw) * variable.factor + variable.offset);
}

bool isFinite(const MeasureNumber& number) {
    const double* real = std::get_if<double>(&number);
    return real == nullptr || std::isfinite(*real);
}

std::string numberText(const MeasureNumber& number) {
    if (!isFinite(number)) {
        return {};
    }
    return std::visit([](auto value) { return fmt::format("{}", value); }, number);
}

Json numberJson(const MeasureNumber& number) {
    if (!isFinite(number)) {
        return nullptr;
    }
    return std::visit([](auto value) { return Json(value); }, number);
}

}  // namespace

std::optional<double> MeasureValue::first() const {
    if (numbers.empty() || !isFinite(numbers.front())) {
        return std::nullopt;
    }
    return asDouble(numbers.front());
}

MeasureValue measureValue(const VariableRecord& variable, sim::ByteOrder order,
                          std::span<const std::uint8_t> bytes) {
    MeasureValue value;
    if (bytes.size() != variable.size) {
        return value;
    }
    if (variable.type == ValueType::bytes) {
        value.hex = hexDigits(bytes.data(), bytes.size());
        return value;
    }
    const std::size_t size = valueSize(variable.type);
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
        const std::uint64_t bits = sim::getNumber(bytes.subspan(at, size), order);
        value.numbers.push_back(converted(variable, rawNumber(variable.type, bits)));
    }
    return value;
}

std::string cellText(const MeasureValue& value) {
    std::string text = value.hex;
    for (const MeasureNumber& number : value.numbers) {
        const bool holdsPlace = value.numbers.size() > 1 && !isFinite(number);
        text.append(text.empty() ? "" : " ").append(holdsPlace ? "nan" : numberText(number));
    }
    return text;
}

Json jsonValue(const MeasureValue& value) {
    if (value.missing()) {
        return nullptr;
    }
    if (value.numbers.empty()) {
        return value.hex;
    }
    if (value.numbers.size() == 1) {
        return numberJson(value.numbers.front());
    }
    Json elements = Json::array();
    std::transform(value.numbers.begin(), value.numbers.end(), std::back_inserter(elements), numberJson);
    return elements;
}

std::string shownText(const MeasureValue& value, std::size_t width) {
    if (value.numbers.empty()) {
        return value.hex.size() > width ? fitted(value.hex, width) : value.hex;
    }
    const MeasureNumber& number = value.numbers.front();
    const std::string more = value.numbers.size() > 1 ? " .." : "";
    const std::string exact = numberText(number);
    const bool fits = !std::holds_alternative<double>(number) && exact.size() + more.size() <= width;
    return (fits ? exact : shortNumber(asDouble(number), width - more.size())) + more;
}

}  // namespace host
