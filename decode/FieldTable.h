/// @file
/// The language in which frames are described: a frame is a row of a `FrameTable`, a field a `FieldRow`.
///
/// A field reads in one line, as `hex32("Address", 4)`: form, width in bits, label, position of its first
/// byte in the frame. What departs from the common case follows: `.unmarked()`, `.neverSwapped()`.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace trace_view {

/// Texts of the values from 0. A value without a text of its own shows @p otherwise.
struct TextTable {
    std::array<std::string_view, 16> texts;
    std::string_view otherwise = {};

    constexpr std::string_view operator[](std::uint32_t value) const {
        return value < texts.size() && !texts[value].empty() ? texts[value] : otherwise;
    }
};

/// How a field's text comes about.
enum class Form : std::uint8_t {
    Hex,          ///< number, hexadecimal
    HexLowByte,   ///< number, of which the text shows the low byte only
    Dec,          ///< number, decimal
    Choice,       ///< number that `FieldRow::texts` names
    Status,       ///< number that `FieldRow::statusText` names
    FrameLength,  ///< the length of the frame, decimal; reads no position
    Bytes,        ///< bytes as they come; left out if the frame's length ends ahead of them
    Group,        ///< the fields of `FieldRow::group`, all in the byte of this position
};

/// How a number follows the ECU's byte order.
enum class Swap : std::uint8_t {
    Never,       ///< little endian whatever the ECU's byte order is
    Configured,  ///< turned if the ECU is big endian
    AsWord,      ///< one byte, turned as if it were the low byte of a word: 3 becomes 0x300
};

/// One field of a frame.
struct FieldRow {
    std::string_view label = {};
    Form form = Form::Hex;
    std::uint8_t position = 0;  ///< of its first byte; in a group, on top of the group's position
    std::uint8_t width = 1;     ///< bytes: 1, 2 or 4
    Swap swap = Swap::Configured;
    bool mark = true;                                    ///< `mcDecodeField::mark`
    std::uint8_t firstBit = 0;                           ///< of a one-byte number: lowest bit that counts
    std::uint32_t bitMask = 0xFFFFFFFFU;                 ///< cuts the number behind the shift by `firstBit`
    const TextTable* texts = nullptr;                    ///< for `Form::Choice`
    const TextTable* labels = nullptr;                   ///< if set, the number chooses the label too
    std::string (*statusText)(std::uint32_t) = nullptr;  ///< for `Form::Status`
    std::uint8_t countPosition = 0;                      ///< for `Form::Bytes`: byte with their number;
                                                         ///< 0 is up to the frame's end
    std::span<const FieldRow> group = {};                ///< for `Form::Group`

    constexpr FieldRow unmarked() const {
        FieldRow row = *this;
        row.mark = false;
        return row;
    }
    constexpr FieldRow swapped(Swap rule) const {
        FieldRow row = *this;
        row.swap = rule;
        return row;
    }
    constexpr FieldRow neverSwapped() const { return swapped(Swap::Never); }
    constexpr FieldRow labelledBy(const TextTable& table) const {
        FieldRow row = *this;
        row.labels = &table;
        return row;
    }
};

constexpr FieldRow number(Form form, std::string_view label, std::uint8_t position, std::uint8_t width) {
    return {.label = label, .form = form, .position = position, .width = width};
}

constexpr FieldRow hex8(std::string_view label, std::uint8_t position) {
    return number(Form::Hex, label, position, 1);
}

constexpr FieldRow hex16(std::string_view label, std::uint8_t position) {
    return number(Form::Hex, label, position, 2);
}

constexpr FieldRow hex32(std::string_view label, std::uint8_t position) {
    return number(Form::Hex, label, position, 4);
}

constexpr FieldRow dec8(std::string_view label, std::uint8_t position) {
    return number(Form::Dec, label, position, 1);
}

constexpr FieldRow dec16(std::string_view label, std::uint8_t position) {
    return number(Form::Dec, label, position, 2);
}

constexpr FieldRow dec32(std::string_view label, std::uint8_t position) {
    return number(Form::Dec, label, position, 4);
}

/// A byte that @p texts names.
constexpr FieldRow choice(std::string_view label, std::uint8_t position, const TextTable& texts) {
    return {.label = label, .form = Form::Choice, .position = position, .texts = &texts};
}

/// A byte that @p statusText names.
constexpr FieldRow status(std::string_view label, std::uint8_t position,
                          std::string (*statusText)(std::uint32_t)) {
    return {.label = label, .form = Form::Status, .position = position, .statusText = statusText};
}

/// The bytes from @p position to the frame's end.
constexpr FieldRow bytesToEnd(std::string_view label, std::uint8_t position) {
    return {.label = label, .form = Form::Bytes, .position = position};
}

/// As many bytes from @p position as the byte at @p countPosition says, even behind the frame's length; left
/// out if it says 0.
constexpr FieldRow bytesCounted(std::string_view label, std::uint8_t position, std::uint8_t countPosition) {
    return {.label = label, .form = Form::Bytes, .position = position, .countPosition = countPosition};
}

constexpr FieldRow frameLength(std::string_view label) {
    return {.label = label, .form = Form::FrameLength};
}

/// The fields @p rows, each some bits of the byte at @p position.
constexpr FieldRow group(std::span<const FieldRow> rows, std::uint8_t position) {
    return {.form = Form::Group, .position = position, .group = rows};
}

/// A field of a group: the bits @p first to @p last of its byte. Never marked.
constexpr FieldRow bits(std::string_view label, std::uint8_t first, std::uint8_t last,
                        const TextTable& texts) {
    return {.label = label,
            .form = Form::Choice,
            .mark = false,
            .firstBit = first,
            .bitMask = (1U << (last - first + 1U)) - 1U,
            .texts = &texts};
}

inline constexpr TextTable falseTrue{.texts = {"false", "true"}};
inline constexpr TextTable capitalFalseTrue{.texts = {"False", "True"}};

/// A field of a group: one bit, "true" or "false".
constexpr FieldRow flag(std::string_view label, std::uint8_t bit) {
    return bits(label, bit, bit, falseTrue);
}

/// A field of a group: one bit, "True" or "False".
constexpr FieldRow capitalFlag(std::string_view label, std::uint8_t bit) {
    return bits(label, bit, bit, capitalFalseTrue);
}

/// One frame: a command, the response to one, an event.
struct FrameRow {
    std::uint8_t code;  ///< byte that chooses the row; for a response that of the command answered
    std::string_view title;
    std::span<const FieldRow> fields = {};
};

/// Frames by code, found in one step.
class FrameTable {
public:
    /// @param rows            at most 255, each code once; what breaks this does not compile
    /// @param otherwiseTitle  title of every other code; those have no fields
    constexpr explicit FrameTable(std::span<const FrameRow> rows, std::string_view otherwiseTitle = {})
        : m_rows(rows), m_otherwise{0, otherwiseTitle} {
        std::uint8_t ordinal = 0;
        for (const FrameRow& row : rows) {
            std::uint8_t& entry = m_ordinals[row.code];
            if (entry != 0) {
                throw "a code stands twice";
            }
            entry = ++ordinal;
        }
    }

    constexpr const FrameRow& operator[](std::uint8_t code) const {
        const std::size_t ordinal = m_ordinals[code];
        return ordinal == 0 ? m_otherwise : m_rows[ordinal - 1];
    }

private:
    std::span<const FrameRow> m_rows;
    FrameRow m_otherwise;
    std::array<std::uint8_t, 256> m_ordinals{};  ///< by code: number of the row from 1; 0 is none
};

}  // namespace trace_view
