// Segments, flash and calibration values of an ECU.
#include "host/ConfigEcu.h"
#include "host/ConfigWords.h"
#include "host/RawValue.h"

#include <fmt/format.h>

namespace host {
namespace {

constexpr NumberRange kAddress{0, 0xFFFFFFFF};
constexpr NumberRange kByte{0, 0xFF};
constexpr NumberRange kSize{1, 0x1000000};
constexpr NumberRange kMicroseconds{0, 1'000'000};

const Words kKinds{"ram", "calibration", "flash"};

/// Pages of an XCP segment have numbers, those of a CCP ECU addresses.
void readPages(ConfigTable& table, SegmentRecord& segment) {
    segment.paged = table.flag("paged", segment.paged);
    segment.number = table.as<std::uint8_t>("number", kByte, segment.number);
    segment.workingPage = table.as<std::uint8_t>("working_page", kByte, segment.workingPage);
    segment.referencePage = table.as<std::uint8_t>("reference_page", kByte, segment.referencePage);
    if (segment.workingPage == segment.referencePage) {
        table.fail("reference_page", "equals working_page; give two numbers");
    }
}

SegmentRecord readSegment(ConfigTable& table, const EcuRecord& ecu) {
    SegmentRecord segment;
    segment.place = table.place();
    segment.kind = static_cast<SegmentKind>(table.word("kind", kKinds, 0));
    segment.address = table.as<std::uint32_t>("address", kAddress);
    segment.size = table.as<std::uint32_t>("size", kSize);
    segment.referenceAddress = segment.address;
    segment.extension = table.as<std::uint8_t>("extension", kByte, 0);
    if (table.has("checksum")) {
        segment.checksum = readWire(table, "checksum", kSegmentChecksums);
    }
    segment.checksumBlock = table.as<std::uint32_t>("checksum_block", {0, 0x1000000}, 0);
    if (segment.kind == SegmentKind::ram) {
        segment.writable = table.flag("writable", false);
    }
    if (segment.kind == SegmentKind::calibration && ecu.ccp) {
        segment.referenceAddress = table.as<std::uint32_t>("reference_address", kAddress);
    }
    if (segment.kind == SegmentKind::calibration && !ecu.ccp) {
        readPages(table, segment);
    }
    if (segment.kind == SegmentKind::flash && segment.size % ecu.flash.sectorSize != 0) {
        table.fail("size", fmt::format("found 0x{:X}; give a multiple of the sector size, 0x{:X}",
                                       segment.size, ecu.flash.sectorSize));
    }
    table.finish();
    return segment;
}

ParameterRecord readParameter(ConfigTable& table, const EcuRecord& ecu) {
    ParameterRecord parameter;
    parameter.place = table.place();
    parameter.name = table.text("name");
    parameter.address = table.as<std::uint32_t>("address", kAddress);
    readConversion(table, parameter);
    sim::Signal value;
    value.kind = sim::SignalKind::constant;
    value.byteOrder = ecu.byteOrder;
    value.type = static_cast<sim::SignalType>(table.word("type", typeWords()));
    if (!table.has("value")) {
        table.fail("value", "is missing; give a finite number");
    }
    value.offset = table.real("value", 0.0);
    parameter.type = static_cast<ValueType>(value.type);
    parameter.bytes = sim::signalBytes(value, 0);
    parameter.size = static_cast<std::uint32_t>(parameter.bytes.size());
    const bool whole = value.type != sim::SignalType::f32 && value.type != sim::SignalType::f64;
    if (whole && rawNumber(value, parameter.bytes) != value.offset) {
        table.fail("value", fmt::format("found {}; give a value that the type can hold", value.offset));
    }
    table.finish();
    return parameter;
}

}  // namespace

FlashRecord readFlash(ConfigTable table) {
    FlashRecord flash;
    flash.sectorSize = table.as<std::uint32_t>("sector_size", kSize, flash.sectorSize);
    flash.eraseMs = table.as<std::uint32_t>("erase_ms", {0, 10'000}, flash.eraseMs);
    flash.programUs = table.as<std::uint32_t>("program_us", kMicroseconds, flash.programUs);
    table.finish();
    return flash;
}

std::vector<SegmentRecord> readSegments(ConfigTable& ecuTable, const EcuRecord& ecu) {
    std::vector<SegmentRecord> segments;
    for (ConfigTable& table : ecuTable.tables("segment")) {
        segments.push_back(readSegment(table, ecu));
    }
    return segments;
}

std::vector<ParameterRecord> readParameters(ConfigTable& ecuTable, const EcuRecord& ecu) {
    std::vector<ParameterRecord> parameters;
    for (ConfigTable& table : ecuTable.tables("parameters")) {
        parameters.push_back(readParameter(table, ecu));
    }
    return parameters;
}

}  // namespace host
