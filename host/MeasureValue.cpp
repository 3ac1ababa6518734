#include "host/MeasureValue.h"

#include "host/ValueTable.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace host {
namespace {

bool isFinite(const PhysicalNumber& number) {
    return std::isfinite(number.number);
}

}  // namespace

std::optional<double> MeasureValue::first() const {
    if (numbers.empty() || !isFinite(numbers.front())) {
        return std::nullopt;
    }
    return numbers.front().number;
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
    value.numbers = physicalNumbers(variable, order, bytes);
    return value;
}

std::string cellText(const MeasureValue& value) {
    if (value.numbers.size() == 1) {
        return isFinite(value.numbers.front()) ? value.numbers.front().text : "";
    }
    std::string text = value.hex;
    for (const PhysicalNumber& number : value.numbers) {
        text.append(text.empty() ? "" : " ").append(isFinite(number) ? number.text : "nan");
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
    const PhysicalNumber& number = value.numbers.front();
    const std::string more = value.numbers.size() > 1 ? " .." : "";
    const bool fits = number.text.size() + more.size() <= width;
    return (fits ? number.text : shortNumber(number.number, width - more.size())) + more;
}

}  // namespace host
