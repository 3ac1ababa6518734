#include "host/MemoryPrint.h"

#include "host/HexPrint.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace host {
namespace {

Json objectOf(const char* type, const std::string& ecu, const HexRange& range, const std::string& segment) {
    Json object = jsonObject(type);
    object["ecu"] = ecu;
    object["address"] = range.first;
    object["last"] = range.last;
    object["length"] = lengthOf(range);
    object["segment"] = segment.empty() ? Json() : Json(segment);
    return object;
}

std::string rowText(const char* what, const HexRange& range, const std::string& text) {
    const std::uint64_t length = lengthOf(range);
    return fmt::format("  {:<8} {}-{} {:>11} {:<5}  {}", what, addressText(range.first),
                       addressText(range.last), length, length == 1 ? "byte" : "bytes", text);
}

/// A checksum in hexadecimal; null for a block that was compared byte by byte.
Json sumOf(const std::optional<std::uint32_t>& sum, int digits) {
    return sum ? Json(fmt::format("0x{:0{}x}", *sum, digits)) : Json();
}

}  // namespace

MemoryPrint::MemoryPrint(std::string ecu, bool json, bool colours)
    : m_ecu(std::move(ecu)), m_json(json), m_output(stdout, colours), m_messages(stderr, colours) {}

void MemoryPrint::head(const std::string& text) {
    if (!m_json) {
        m_output.line(m_ecu + ": " + text);
    }
}

void MemoryPrint::plan(const PlanRow& row) {
    if (!m_json) {
        const std::string segment = row.segment.empty() ? "in no segment" : row.segment;
        m_output.line(rowText(row.action, row.range, segment + row.note));
        return;
    }
    Json object = objectOf("plan", m_ecu, row.range, row.segment);
    object["action"] = row.action;
    if (row.sectors) {
        object["sectors"] = *row.sectors;
    }
    if (row.bytesNotHeld) {
        object["not_in_file"] = *row.bytesNotHeld;
    }
    m_lines.write(object);
}

void MemoryPrint::block(const BlockRow& row) {
    if (m_json) {
        Json object = objectOf("block", m_ecu, row.range, row.segment);
        object["ecu_checksum"] = sumOf(row.ecuSum, row.digits);
        object["file_checksum"] = sumOf(row.fileSum, row.digits);
        object["equal"] = row.equal;
        m_lines.write(object);
        return;
    }
    const std::string result =
        row.equal ? m_output.paint(Colour::good, "equal") : m_output.paint(Colour::bad, "different");
    const std::string sums =
        row.ecuSum && row.fileSum
            ? fmt::format("ECU 0x{:0{}x}, file 0x{:0{}x}", *row.ecuSum, row.digits, *row.fileSum, row.digits)
            : "read back";
    m_output.line(rowText("block", row.range, fmt::format("{}, {}, {}", row.segment, sums, result)));
}

void MemoryPrint::difference(const FirstDifference& difference) {
    if (m_json) {
        Json object = jsonObject("difference");
        object["ecu"] = m_ecu;
        object["address"] = difference.address;
        object["file_byte"] = difference.wanted;
        object["ecu_byte"] = difference.found;
        m_lines.write(object);
        return;
    }
    m_output.line(fmt::format("{}: first difference at {}: file 0x{:02x}, ECU 0x{:02x}", m_ecu,
                              addressText(difference.address), difference.wanted, difference.found));
}

void MemoryPrint::transfer(const TransferRow& row) {
    constexpr double kLeastSeconds = 1e-6;
    const double rate = static_cast<double>(row.bytes) / std::max(row.seconds, kLeastSeconds) / 1000.0;
    message(fmt::format("{} {} in {:.2f} s, {:.1f} kB/s", row.action, countText(row.bytes, "byte"),
                        row.seconds, rate));
    if (m_json) {
        Json object = jsonObject("transfer");
        object["ecu"] = m_ecu;
        object["action"] = row.action;
        object["bytes"] = row.bytes;
        object["seconds"] = row.seconds;
        m_lines.write(object);
    }
}

void MemoryPrint::verified(std::uint64_t bytes) {
    if (!m_json) {
        m_output.line(fmt::format("{}: verified, {}", m_ecu, countText(bytes, "byte")));
    }
}

void MemoryPrint::written(const std::string& path, const std::list<mem_buf>& image) {
    message(
        fmt::format("{}, {}, {}", path, countText(image.size(), "block"), countText(bytesIn(image), "byte")));
    if (m_json) {
        Json object = jsonObject("file_written");
        object["file"] = path;
        object["blocks"] = image.size();
        object["bytes"] = bytesIn(image);
        m_lines.write(object);
    }
}

void MemoryPrint::message(const std::string& text) {
    m_messages.line("talvex: " + m_ecu + ": " + text);
}

}  // namespace host
