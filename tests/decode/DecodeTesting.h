/// @file
/// Words for the tests of the analysers: frames from hexadecimal digits, expected fields, a listening host.
#pragma once

#include <gtest/gtest.h>

#include "TalvexRecords.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace decode_testing {

/// An expected field; prints itself when it is not what came.
struct Field {
    std::string label;
    std::string text;
    std::uint32_t value = 0;
    bool mark = false;

    bool operator==(const Field&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Field& field) {
    return out << '"' << field.label << "\" = \"" << field.text << "\" (" << field.value
               << (field.mark ? ") marked" : ")");
}

using Fields = std::vector<Field>;

inline Fields shown(const std::vector<mcDecodeField>& fields) {
    Fields result;
    for (const mcDecodeField& field : fields) {
        result.push_back({field.label, field.text, field.value, field.mark});
    }
    return result;
}

inline Fields joined(Fields first, const Fields& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The fields with this label, so that a test can look at one of many.
inline Fields labelled(const std::vector<mcDecodeField>& fields, const std::string& label) {
    Fields result;
    for (const Field& field : shown(fields)) {
        if (field.label == label) {
            result.push_back(field);
        }
    }
    return result;
}

/// A frame from bytes as in "ff 00". Its length is their number unless @p length says otherwise.
inline msgBuf frame(const std::string& hex, std::optional<std::uint16_t> length = {}) {
    msgBuf msg;
    std::uint16_t count = 0;
    for (std::size_t at = 0; at < hex.size(); at += 3) {
        msg.data.at(count) = static_cast<std::uint8_t>(std::stoul(hex.substr(at, 2), nullptr, 16));
        ++count;
    }
    msg.length = length.value_or(count);
    return msg;
}

inline std::uint8_t byteOf(unsigned value) {
    return static_cast<std::uint8_t>(value);
}

/// One code of a table with a frame and what it must show in both byte orders.
struct Row {
    std::uint8_t code;
    std::string title;
    std::string hex;
    Fields little;
    std::optional<Fields> big = {};  ///< none: as with little endian

    const Fields& expected(bool bigEndian) const { return bigEndian && big ? *big : little; }
};

inline bool hasRow(const std::vector<Row>& rows, std::uint8_t code) {
    for (const Row& row : rows) {
        if (row.code == code) {
            return true;
        }
    }
    return false;
}

inline std::string traceOf(const Row& row, bool bigEndian) {
    return row.title + " code " + std::to_string(row.code) + (bigEndian ? " big" : " little") +
           " endian: " + row.hex;
}

/// The host's side of `msgDecodeFun`: keeps what came.
struct Host {
    static void listen(std::uint64_t hostTag, mcDecodeMsg message) {
        heard().emplace_back(hostTag, std::move(message));
    }
    static std::vector<std::pair<std::uint64_t, mcDecodeMsg>>& heard() {
        static std::vector<std::pair<std::uint64_t, mcDecodeMsg>> messages;
        return messages;
    }
};

/// A decoder whose host listens from now on.
template <class Decoder>
Decoder heardDecoder(bool swapBytes = false) {
    Host::heard().clear();
    Decoder decoder;
    decoder.m_callBacks.msgDecodeFun = &Host::listen;
    decoder.swapBytes = swapBytes;
    return decoder;
}

}  // namespace decode_testing
