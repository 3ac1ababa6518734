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

constexpr std::uint32_t wordAt(const msgBuf& msg, std::size_t position, bool bigEndian) {
    const std::uint32_t first = byteAt(msg, position);
    const std::uint32_t second = byteAt(msg, position + 1);
    return bigEndian ? first << 8U | second : second << 8U | first;
}

constexpr std::uint32_t longAt(const msgBuf& msg, std::size_t position, bool bigEndian) {
    const std::uint32_t first = wordAt(msg, position, bigEndian);
    const std::uint32_t second = wordAt(msg, position + 2, bigEndian);
    return bigEndian ? first << 16U | second : second << 16U | first;
}

/// Makes a field where it is to stand: a vector that takes this converts it in place, so no string is moved.
template <class MakeText>
struct NewField {
    const FieldRow& row;
    MakeText makeText;
    std::uint32_t value;

    operator mcDecodeField() const {
        const std::string_view label = row.labels != nullptr ? (*row.labels)[value] : row.label;
        return {std::string(label), makeText(), value, row.mark};
    }
};

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
                return walk(row.group, position);
            case Form::Bytes:
                return addBytes(row, position);
            case Form::FrameLength:
                return add(row, m_msg.length, [this] { return decText(m_msg.length); });
            default:
                return addNumber(row, rawValue(row, position));
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
        if (count != 0) {
            const std::span<const std::uint8_t> bytes = std::span(m_msg.data).subspan(position);
            add(row, 0, [&] { return byteText(bytes, count); });
        }
    }

    void addNumber(const FieldRow& row, std::uint32_t value) {
        switch (row.form) {
            case Form::Choice:
                return add(row, value, [&] { return std::string((*row.texts)[value]); });
            case Form::Hex:
                return add(row, value, [&] { return hexText(value); });
            case Form::HexLowByte:
                return add(row, value, [&] { return hexText(value & 0xFFU); });
            case Form::Status:
                return add(row, value, [&] { return row.statusText(value); });
            default:
                return add(row, value, [&] { return decText(value); });
        }
    }

    std::uint32_t rawValue(const FieldRow& row, std::size_t position) const {
        const bool bigEndian = m_swapBytes && row.swap == Swap::Configured;
        if (row.width == 4) {
            return longAt(m_msg, position, bigEndian);
        }
        if (row.width == 2) {
            return wordAt(m_msg, position, bigEndian);
        }
        const std::uint32_t value = byteAt(m_msg, position);
        if (m_swapBytes && row.swap == Swap::AsWord) {
            return value << 8U;
        }
        return (value >> row.firstBit) & row.bitMask;
    }

    template <class MakeText>
    void add(const FieldRow& row, std::uint32_t value, MakeText makeText) {
        m_fields.emplace_back(NewField<MakeText>{row, makeText, value});
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
