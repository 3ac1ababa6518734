#include "host/PhysicalValue.h"

#include "host/HostError.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace host {
namespace {

using Bytes = std::span<const std::uint8_t>;

enum class Form : std::uint8_t { natural, whole, real, none };

struct TypeRow {
    std::string_view name;
    Form form;
};

/// In the order of ValueType.
constexpr std::array<TypeRow, 11> kTypes{{{"u8", Form::natural},
                                          {"i8", Form::whole},
                                          {"u16", Form::natural},
                                          {"i16", Form::whole},
                                          {"u32", Form::natural},
                                          {"i32", Form::whole},
                                          {"u64", Form::natural},
                                          {"i64", Form::whole},
                                          {"f32", Form::real},
                                          {"f64", Form::real},
                                          {"bytes", Form::none}}};

const TypeRow& rowOf(ValueType type) {
    return kTypes[static_cast<std::size_t>(type)];
}

bool isPlain(const VariableRecord& variable) {
    return variable.factor == 1.0 && variable.offset == 0.0;
}

Bytes elementOf(const VariableRecord& variable, Bytes bytes, std::size_t element) {
    const std::size_t size = valueSize(variable.type);
    return bytes.size() / size > element ? bytes.subspan(element * size, size) : Bytes();
}

/// @p bits of @p size bytes with the sign of their highest.
std::int64_t withSign(std::uint64_t bits, std::size_t size) {
    const unsigned shift = 64U - 8U * static_cast<unsigned>(size);
    return static_cast<std::int64_t>(bits << shift) >> shift;
}

double realOf(std::uint64_t bits, std::size_t size) {
    return size == sizeof(float) ? std::bit_cast<float>(static_cast<std::uint32_t>(bits))
                                 : std::bit_cast<double>(bits);
}

double rawOf(Form form, std::uint64_t bits, std::size_t size) {
    if (form == Form::real) {
        return realOf(bits, size);
    }
    return form == Form::natural ? static_cast<double>(bits) : static_cast<double>(withSign(bits, size));
}

/// Digits behind the point that @p number needs; nothing if it is no decimal number of a sane length.
std::optional<int> decimalsOf(double number) {
    constexpr int kMost = 9;
    const std::string text = fmt::format("{}", number);
    const std::size_t point = text.find('.');
    if (text.find('e') != std::string::npos) {
        return std::nullopt;
    }
    const int decimals = point == std::string::npos ? 0 : static_cast<int>(text.size() - point - 1);
    return decimals <= kMost ? std::optional(decimals) : std::nullopt;
}

/// A whole number times factor plus offset has as many digits as those two.
std::string scaledText(const VariableRecord& variable, double raw) {
    const double shown = raw * variable.factor + variable.offset;
    const std::optional<int> factor = decimalsOf(variable.factor);
    const std::optional<int> offset = decimalsOf(variable.offset);
    return factor && offset ? fmt::format("{:.{}f}", shown, std::max(*factor, *offset))
                            : fmt::format("{:.10g}", shown);
}

std::string realText(const VariableRecord& variable, double raw) {
    const bool single = variable.type == ValueType::f32;
    if (isPlain(variable)) {
        return single ? fmt::format("{}", static_cast<float>(raw)) : fmt::format("{}", raw);
    }
    const double shown = raw * variable.factor + variable.offset;
    return single ? fmt::format("{:.7g}", shown) : fmt::format("{:.15g}", shown);
}

std::string elementText(const VariableRecord& variable, sim::ByteOrder order, Bytes element) {
    const Form form = rowOf(variable.type).form;
    const std::uint64_t bits = sim::getNumber(element, order);
    if (form == Form::real) {
        return realText(variable, realOf(bits, element.size()));
    }
    if (!isPlain(variable)) {
        return scaledText(variable, rawOf(form, bits, element.size()));
    }
    return form == Form::natural ? fmt::format("{}", bits)
                                 : fmt::format("{}", withSign(bits, element.size()));
}

/// The number that @p text says, so that both have the same digits.
PhysicalNumber numberOf(std::string text) {
    PhysicalNumber number{std::move(text)};
    std::from_chars(number.text.data(), number.text.data() + number.text.size(), number.number);
    return number;
}

HostError unfit(const VariableRecord& variable, const std::string& text, const std::string& wanted) {
    return HostError(fmt::format("{}={}: {}", variable.name, text, wanted), ExitCode::usage);
}

/// Least and greatest whole number of a type; as numbers of 64 bits and of the unit.
struct Range {
    std::int64_t least = 0;
    std::uint64_t greatest = 0;
};

Range rangeOf(ValueType type) {
    const unsigned bits = 8U * valueSize(type);
    const std::uint64_t all = std::numeric_limits<std::uint64_t>::max() >> (64U - bits);
    if (rowOf(type).form == Form::natural) {
        return {0, all};
    }
    return {withSign(std::uint64_t{1} << (bits - 1U), valueSize(type)), all >> 1U};
}

std::string rangeText(const VariableRecord& variable) {
    const Range range = rangeOf(variable.type);
    std::array<std::string, 2> ends{fmt::format("{}", range.least), fmt::format("{}", range.greatest)};
    if (!isPlain(variable)) {
        ends = {scaledText(variable, static_cast<double>(range.least)),
                scaledText(variable, static_cast<double>(range.greatest))};
        if (variable.factor < 0) {
            std::swap(ends[0], ends[1]);
        }
    }
    const std::string unit = variable.unit.empty() ? "" : " " + variable.unit;
    return fmt::format("a {} takes {} to {}{}", valueTypeText(variable.type), ends[0], ends[1], unit);
}

struct Element {
    std::uint64_t bits = 0;
    bool exact = true;
};

/// A whole number that is written without conversion; all of its 64 bits count.
std::optional<Element> plainWhole(const VariableRecord& variable, const std::string& text) {
    const char* end = text.data() + text.size();
    const Range range = rangeOf(variable.type);
    std::int64_t low = 0;
    if (const auto [at, error] = std::from_chars(text.data(), end, low);
        error == std::errc() && at == end && low < 0) {
        return low >= range.least ? std::optional(Element{static_cast<std::uint64_t>(low), true})
                                  : std::nullopt;
    }
    std::uint64_t high = 0;
    const auto [at, error] = std::from_chars(text.data(), end, high);
    const bool fits = error == std::errc() && at == end && high <= range.greatest;
    return fits ? std::optional(Element{high, true}) : std::nullopt;
}

/// Whether @p found is @p wanted but for the rounding of the conversion.
bool isSame(double wanted, double found, double step) {
    constexpr double kRounding = 1e-9;
    return std::abs(wanted - found) <= kRounding * std::max(std::abs(wanted), std::abs(step));
}

std::optional<Element> nearestWhole(const VariableRecord& variable, double wanted) {
    const Range range = rangeOf(variable.type);
    const double raw = std::nearbyint((wanted - variable.offset) / variable.factor);
    // One more than the greatest is a power of two, which no rounding moves.
    const double limit = std::ldexp(1.0, static_cast<int>(std::bit_width(range.greatest)));
    if (!(raw >= static_cast<double>(range.least) && raw < limit)) {
        return std::nullopt;
    }
    const std::uint64_t bits = raw < 0 ? static_cast<std::uint64_t>(static_cast<std::int64_t>(raw))
                                       : static_cast<std::uint64_t>(raw);
    return Element{bits, isSame(wanted, raw * variable.factor + variable.offset, variable.factor)};
}

std::optional<Element> nearestReal(const VariableRecord& variable, double wanted) {
    const double raw = (wanted - variable.offset) / variable.factor;
    if (variable.type == ValueType::f64) {
        return std::isfinite(raw) ? std::optional(Element{std::bit_cast<std::uint64_t>(raw), true})
                                  : std::nullopt;
    }
    if (!(std::abs(raw) <= static_cast<double>(std::numeric_limits<float>::max()))) {
        return std::nullopt;
    }
    return Element{std::bit_cast<std::uint32_t>(static_cast<float>(raw)), true};
}

std::optional<double> finite(const std::string& text) {
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    const bool good = error == std::errc() && at == end && std::isfinite(value);
    return good ? std::optional(value) : std::nullopt;
}

Element parseElement(const VariableRecord& variable, const std::string& whole, const std::string& text) {
    const std::optional<double> wanted = finite(text);
    if (!wanted) {
        throw unfit(variable, whole, fmt::format("\"{}\" is no finite number", text));
    }
    const bool real = rowOf(variable.type).form == Form::real;
    std::optional<Element> element;
    if (!real && isPlain(variable)) {
        element = plainWhole(variable, text);
    }
    if (!element) {
        element = real ? nearestReal(variable, *wanted) : nearestWhole(variable, *wanted);
    }
    if (!element) {
        throw unfit(variable, whole,
                    "out of range; " + (real ? "a " + valueTypeText(variable.type) + " cannot hold it"
                                             : rangeText(variable)));
    }
    return *element;
}

std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ',') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

RawValue parseBytes(const VariableRecord& variable, const std::string& text) {
    const auto bytes = bytesOfDigits(text.substr(2));
    if (!bytes || bytes->size() != variable.size) {
        throw unfit(
            variable, text,
            fmt::format("it has {} bytes; give {} hexadecimal digits behind 0x, in the order of their "
                        "addresses",
                        variable.size, 2 * variable.size));
    }
    return {*bytes, true};
}

}  // namespace

std::string valueTypeText(ValueType type) {
    return std::string(rowOf(type).name);
}

std::vector<std::string> valueTypeNames() {
    std::vector<std::string> names;
    std::transform(kTypes.begin(), kTypes.end() - 1, std::back_inserter(names),
                   [](const TypeRow& row) { return std::string(row.name); });
    return names;
}

std::optional<ValueType> findValueType(const std::string& text) {
    const auto* end = kTypes.end() - 1;
    const auto* found =
        std::find_if(kTypes.begin(), end, [&text](const TypeRow& row) { return row.name == text; });
    return found != end ? std::optional(static_cast<ValueType>(std::distance(kTypes.begin(), found)))
                        : std::nullopt;
}

std::size_t elementCount(const VariableRecord& variable) {
    return variable.type == ValueType::bytes ? 0 : variable.size / valueSize(variable.type);
}

std::vector<PhysicalNumber> physicalNumbers(const VariableRecord& variable, sim::ByteOrder order,
                                            Bytes bytes) {
    std::vector<PhysicalNumber> numbers;
    for (std::size_t i = 0; i < elementCount(variable); ++i) {
        if (const Bytes element = elementOf(variable, bytes, i); !element.empty()) {
            numbers.push_back(numberOf(elementText(variable, order, element)));
        }
    }
    return numbers;
}

Json numberJson(const PhysicalNumber& number) {
    const Json json = Json::parse(number.text, nullptr, false);
    return json.is_number() ? json : Json();
}

std::string physicalText(const VariableRecord& variable, sim::ByteOrder order, Bytes bytes) {
    const std::vector<PhysicalNumber> numbers = physicalNumbers(variable, order, bytes);
    if (numbers.empty()) {
        return "0x" + hexDigits(bytes.data(), bytes.size());
    }
    std::vector<std::string> texts;
    std::transform(numbers.begin(), numbers.end(), std::back_inserter(texts),
                   [](const PhysicalNumber& number) { return number.text; });
    return texts.size() == 1 ? texts.front() : fmt::format("[{}]", fmt::join(texts, ", "));
}

Json physicalJson(const VariableRecord& variable, sim::ByteOrder order, Bytes bytes) {
    const std::vector<PhysicalNumber> numbers = physicalNumbers(variable, order, bytes);
    if (numbers.size() == 1) {
        return numberJson(numbers.front());
    }
    Json array = numbers.empty() ? Json() : Json::array();
    std::transform(numbers.begin(), numbers.end(), std::back_inserter(array), numberJson);
    return array;
}

RawValue parsePhysical(const VariableRecord& variable, sim::ByteOrder order, const std::string& text) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        return parseBytes(variable, text);
    }
    const std::vector<std::string> parts = split(text);
    const std::size_t count = elementCount(variable);
    if (parts.size() != count) {
        throw unfit(variable, text,
                    count == 0 ? "it is bytes and no number; give them in hexadecimal behind 0x"
                               : fmt::format("found {} numbers, and it has {}", parts.size(), count));
    }
    RawValue value{std::vector<std::uint8_t>(variable.size), true};
    const std::size_t size = valueSize(variable.type);
    for (std::size_t i = 0; i < count; ++i) {
        const Element element = parseElement(variable, text, parts[i]);
        value.exact = value.exact && element.exact;
        sim::putNumber(std::span(value.bytes).subspan(i * size, size), element.bits, order);
    }
    return value;
}

std::optional<std::vector<std::uint8_t>> bytesOfDigits(const std::string& digits) {
    std::vector<std::uint8_t> bytes(digits.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char* at = digits.data() + 2 * i;
        const auto [end, error] = std::from_chars(at, at + 2, bytes[i], 16);
        if (error != std::errc() || end != at + 2) {
            return std::nullopt;
        }
    }
    return digits.size() % 2 == 0 ? std::optional(bytes) : std::nullopt;
}

}  // namespace host
