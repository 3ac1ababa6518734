#include "decode/FieldWalker.h"

#include "decode/ValueText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace trace_view {

namespace {

constexpr std::uint32_t byteAt(const msgBuf& msg, std::size_t position) {
    return position < msg.data.size() ? msg.data[position] : 0U;
}

/// Reads @p width bytes, the most significant one first if @p bigEndian.
constexpr std::uint32_t readNumber(const msgBuf& msg, std::size_t position, std::size_t width,
                                   bool bigEndian) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        const std::size_t at = bigEndian ? i : width - 1 - i;
        value = (value << 8U) | byteAt(msg, position + at);
    }
    return value;
}

/// One frame on its way through rows of fields.
class Walker {
public:
    Walker(const msgBuf& msg, bool swapBytes, std::vector<mcDecodeField>& fields)
        : m_msg(msg), m_swapBytes(swapBytes), m_fields(fields) {}

    void walk(std::span<const FieldRow> rows, std::size_t base) {
        for (const FieldRow& row : rows) {
            addRow(row, base + row.position);
        }
    }

private:
    void addRow(const FieldRow& row, std::size_t position) {
        switch (row.form) {
            case Form::Group:
                walk(row.group, position);
                break;
            case Form::Bytes:
                addBytes(row, position);
                break;
            case Form::FrameLength:
                addNumber(row, m_msg.length);
                break;
            default:
                addNumber(row, rawValue(row, position));
        }
    }

    /// The bytes need not lie within the frame's length if a count tells their number: the trace shows what
    /// the sender's count claims.
    void addBytes(const FieldRow& row, std::size_t position) {
        const std::size_t end = std::min<std::size_t>(m_msg.length, m_msg.data.size());
        if (end <= position) {
            return;
        }
        const bool counted = row.countPosition != 0;
        const std::size_t count = counted ? byteAt(m_msg, row.countPosition) : end - position;
        if (count == 0) {
            return;
        }
        const std::span<const std::uint8_t> bytes = std::span(m_msg.data).subspan(position);
        append(row.label, byteText(bytes, count), 0, row.mark);
    }

    void addNumber(const FieldRow& row, std::uint32_t value) {
        const std::string_view label = row.labels != nullptr ? (*row.labels)[value] : row.label;
        append(label, numberText(row, value), value, row.mark);
    }

    std::uint32_t rawValue(const FieldRow& row, std::size_t position) const {
        const bool bigEndian = m_swapBytes && row.swap == Swap::Configured;
        std::uint32_t value = readNumber(m_msg, position, row.width, bigEndian);
        if (m_swapBytes && row.swap == Swap::AsWord) {
            value <<= 8U;
        }
        return (value >> row.firstBit) & row.bitMask;
    }

    static std::string numberText(const FieldRow& row, std::uint32_t value) {
        switch (row.form) {
            case Form::Hex:
                return hexText(value);
            case Form::HexLowByte:
                return hexText(value & 0xFFU);
            case Form::Choice:
                return std::string((*row.texts)[value]);
            case Form::Status:
                return row.statusText(value);
            default:
                return decText(value);
        }
    }

    void append(std::string_view label, std::string&& text, std::uint32_t value, bool mark) {
        mcDecodeField& field = m_fields.emplace_back();
        field.label = label;
        field.text = std::move(text);
        field.value = value;
        field.mark = mark;
    }

    const msgBuf& m_msg;
    bool m_swapBytes;
    std::vector<mcDecodeField>& m_fields;
};

std::size_t mostFields(std::span<const FieldRow> rows) {
    std::size_t count = 0;
    for (const FieldRow& row : rows) {
        count += row.form == Form::Group ? row.group.size() : 1;
    }
    return count;
}

}  // namespace

std::vector<mcDecodeField> makeFields(std::span<const FieldRow> rows, const msgBuf& msg, bool swapBytes) {
    std::vector<mcDecodeField> fields;
    fields.reserve(mostFields(rows));
    Walker(msg, swapBytes, fields).walk(rows, 0);
    return fields;
}

}  // namespace trace_view
