#include "tests/sweep/SeedShape.h"

#include <chrono>

namespace sweep {
namespace {

using namespace systemtest;
using sim::EcuFaultKind;
using std::chrono::milliseconds;

constexpr std::uint8_t kXcpSetCalPage = 0xEB;
constexpr std::uint8_t kXcpGetDaqClock = 0xDC;
constexpr std::uint8_t kXcpBusy = 0x10;
constexpr std::uint8_t kXcpProgramActive = 0x12;

/// Small enough that a whole segment is moved within milliseconds.
constexpr std::uint32_t kDrawnDataSize = 0x100;

/// A host that waits for ever meets no ECU that keeps silent, and no machine that is too slow for it.
constexpr milliseconds kForEver{20'000};
constexpr milliseconds kImpatient{30};

void drawBasics(SeedShape& shape, Draw& draw) {
    shape.deaf = draw.oneIn(2);
    shape.pages = draw.oneIn(2);
    shape.patience.timeout = shape.deaf ? kImpatient : kForEver;
    shape.patience.retries = draw.below(3);
    shape.bus = fastBus();
    shape.bus.rates.nominal = draw.oneOf({250'000U, 500'000U, 1'000'000U});
    shape.bus.rates.data = shape.bus.rates.nominal * draw.oneOf({1U, 2U, 4U});
    shape.bus.stuffing = draw.oneOf({sim::Stuffing::None, sim::Stuffing::Actual, sim::Stuffing::Worst});
}

/// @param events  1 or 2: those whose values the library tells apart
void drawSignals(SeedShape& shape, EcuPair& pair, Draw& draw, std::uint32_t events) {
    addSignals(pair, 0, "fast");
    if (draw.below(events) == 1) {
        pair.ecu.daq.events[1].cycle = 20;
        addSignals(pair, 1, "slow");
    }
    for (std::uint32_t more = draw.below(6); more > 0; --more) {
        addCounter(pair, "more " + std::to_string(more), 0);
    }
    shape.sampled = allVariables(pair);
    if (!shape.deaf && draw.oneIn(2)) {
        addCounter(pair, "polled", 0);
        shape.polled = {variableOf(pair, "polled", static_cast<std::uint16_t>(draw.between(1, 5)))};
    }
}

void drawXcpForms(XcpShape& shape, Draw& draw, bool fd) {
    EcuPair& pair = shape.ecu;
    setByteOrder(pair, draw.oneOf({sim::ByteOrder::intel, sim::ByteOrder::motorola}));
    using Field = sim::XcpIdField;
    // A classic first ODT has no room for a value behind a long header.
    setIdField(pair, fd ? draw.oneOf({Field::absolute, Field::relativeByte, Field::relativeWord,
                                      Field::relativeWordAligned})
                        : draw.oneOf({Field::absolute, Field::relativeByte}));
    // Nor behind a header and a timestamp: a value that fits nowhere makes the library plan empty lists.
    const bool shortHeader = pair.ecu.daq.idField == Field::absolute;
    setTimestamp(pair, fd            ? draw.oneOf<std::uint8_t>({0, 1, 2, 4})
                       : shortHeader ? draw.oneOf<std::uint8_t>({0, 1, 2})
                                     : std::uint8_t{0});
    if (pair.ecu.daq.timestampSize == 0) {
        pair.cfg.supportedCmds.erase(kXcpGetDaqClock);  // an ECU without timestamps has no clock
    }
    pair.cfg.xcp.packMode = draw.below(3);
    // What fills up a frame of CAN FD becomes part of a seed, so that seeds have to fill theirs.
    for (const int resource : {0x01, 0x04, 0x10}) {
        if (draw.oneIn(3)) {
            addLock(pair, static_cast<std::uint8_t>(resource),
                    fd ? draw.oneOf<std::uint8_t>({1, 4, 6, 10}) : draw.oneOf<std::uint8_t>({1, 4, 6, 9}));
        }
    }
    pair.cfg.padFrames = draw.oneIn(3) ? 1 : 0;
    pair.cfg.padByte = static_cast<std::uint8_t>(draw.below(256));
}

}  // namespace

XcpShape drawXcpShape(Draw& draw) {
    XcpShape shape;
    drawBasics(shape, draw);
    const bool fd = draw.oneIn(2);
    shape.ecu = memoryEcu(draw.oneIn(2), fd);
    EcuPair& pair = shape.ecu;
    drawXcpForms(shape, draw, fd);
    setPatience(pair, shape.patience.timeout, static_cast<std::int32_t>(shape.patience.retries));
    pair.cfg.codeSegments[0].length = shape.memory.codeSize;
    pair.cfg.dataSegments.resize(1);
    pair.cfg.dataSegments[0].length = kDrawnDataSize;
    if (!shape.pages) {
        pair.cfg.supportedCmds.erase(kXcpSetCalPage);
    }
    shape.canErase = true;
    shape.canCheck = pair.ecu.byteOrder == sim::ByteOrder::intel;  // the block size is never swapped
    shape.memory.scratchBase = kScratchBase;
    shape.memory.scratchSize = kScratchSize;
    shape.memory.dataBase = kDataBase;
    shape.memory.dataSize = kDrawnDataSize;
    // The list's number at byte 1 of a frame is never swapped.
    const bool wordLists = pair.ecu.daq.idField != sim::XcpIdField::absolute &&
                           pair.ecu.daq.idField != sim::XcpIdField::relativeByte;
    drawSignals(shape, pair, draw, wordLists && !shape.canCheck ? 1 : 2);
    shape.summary = std::string("XCP, ") + (fd ? "CAN FD" : "classic") + (shape.deaf ? ", deaf" : "") +
                    (pair.cfg.xcp.byteOrder != 0 ? ", big endian" : "") + ", pack mode " +
                    std::to_string(pair.cfg.xcp.packMode) + ", DAQ key byte " +
                    std::to_string(pair.cfg.xcp.daqKeyByte) + ", timestamp of " +
                    std::to_string(pair.ecu.daq.timestampSize) + " bytes, " +
                    std::to_string(shape.sampled.size()) + " signals";
    return shape;
}

CcpShape drawCcpShape(Draw& draw) {
    CcpShape shape;
    drawBasics(shape, draw);
    shape.patience.xcp = false;
    shape.ecu = ccpMemoryEcu();
    CcpPair& pair = shape.ecu;
    setByteOrder(pair, draw.oneOf({sim::ByteOrder::intel, sim::ByteOrder::motorola}));
    setPatience(pair, shape.patience.timeout, static_cast<std::int32_t>(shape.patience.retries));
    for (const int resource : {0x01, 0x02, 0x40}) {
        if (draw.oneIn(3)) {
            addLock(pair, static_cast<std::uint8_t>(resource));
        }
    }
    if (draw.oneIn(3)) {
        giveListsOwnIds(pair);
    }
    EcuProtoCfg& cfg = pair.twin.cfg;
    cfg.padFrames = draw.oneIn(3) ? 1 : 0;
    cfg.codeSegments[0].length = shape.memory.codeSize;
    cfg.dataSegments[0].length = kDrawnDataSize;
    if (!shape.pages) {
        forgetPages(pair);
    }
    shape.canErase = pair.ecu.byteOrder == sim::ByteOrder::intel;  // the size is never swapped
    shape.canCheck = shape.canErase;  // a checksum is handed on as the ECU sent it
    shape.memory.scratchBase = kScratchBase;
    shape.memory.scratchSize = kScratchSize;
    shape.memory.dataBase = kCcpWorkingPage;
    shape.memory.dataSize = kDrawnDataSize;
    drawSignals(shape, pair.twin, draw, 1);  // the values of all lists carry one time
    shape.summary = std::string("CCP") + (shape.deaf ? ", deaf" : "") +
                    (cfg.ccp.byteOrder != 0 ? ", big endian" : "") + ", " +
                    std::to_string(shape.sampled.size()) + " signals";
    return shape;
}

/// Kinds that make the ECU look silent are for hosts that do not wait for ever.
sim::EcuFault drawFault(Draw& draw, const SeedShape& shape) {
    sim::EcuFault fault;
    fault.kind = shape.deaf ? draw.oneOf({EcuFaultKind::silence, EcuFaultKind::error, EcuFaultKind::error,
                                          EcuFaultKind::drop, EcuFaultKind::truncate, EcuFaultKind::reset,
                                          EcuFaultKind::delay, EcuFaultKind::repeat, EcuFaultKind::extend,
                                          EcuFaultKind::wrongCounter, EcuFaultKind::event})
                            : draw.oneOf({EcuFaultKind::error, EcuFaultKind::error, EcuFaultKind::delay,
                                          EcuFaultKind::extend, EcuFaultKind::event});
    fault.after = draw.oneIn(2) ? draw.below(4) : draw.below(40);
    fault.count = draw.between(1, 4);
    fault.delay = draw.between(1, 50) * 1'000'000ULL;
    fault.length = static_cast<std::uint8_t>(draw.between(1, 4));
    fault.code = static_cast<std::uint8_t>(draw.between(1, 255));
    const bool makesWait = fault.code == kXcpBusy || fault.code == kXcpProgramActive;
    if (shape.patience.xcp && makesWait && !shape.deaf) {
        fault.code = 0x31;
    }
    return fault;
}

sim::EcuFault drawDaqFault(Draw& draw, bool xcp) {
    sim::EcuFault fault;
    fault.kind = xcp ? draw.oneOf({EcuFaultKind::dropDto, EcuFaultKind::repeatDto, EcuFaultKind::overload})
                     : draw.oneOf({EcuFaultKind::dropDto, EcuFaultKind::repeatDto});
    fault.after = draw.below(8);
    fault.count = draw.between(1, 3);
    return fault;
}

}  // namespace sweep
