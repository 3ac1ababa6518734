#include "tests/sweep/XcpCommandRows.h"

#include "tests/support/HexText.h"

#include <array>
#include <utility>

namespace sweep {
namespace {

using support::bytes;
using Xcp = XCP_MOUDLE::XcpProtoTransmit;

/// In the place of a list or an event that is not there.
constexpr std::uint32_t kNotThere = 0xFFFF'FFFF;
/// What buffers hold ahead of a command.
constexpr std::uint8_t kFilled = 0xEE;
/// A positive answer that means nothing.
constexpr const char* kPlain = "ff 01 02 03 04 05 06 07";

constexpr std::array<std::uint8_t, kTransferSize> kData = {0xA1, 0xA2, 0xA3, 0xA4};

XcpRow rowOf(const char* name, const char* request, const char* positive,
             std::function<std::uint32_t(Xcp&, Numbers&)> call, std::vector<Field> fields = {}) {
    XcpRow row;
    row.name = name;
    row.request = bytes(request);
    row.positive = bytes(positive);
    row.call = std::move(call);
    row.fields = std::move(fields);
    return row;
}

std::uint32_t storedBytes(const Outcome& outcome) {
    return static_cast<std::uint32_t>(outcome.stored);
}

/// A plain transfer counts its last frame even if the ECU refused it.
std::uint32_t allBytes(const Outcome& /*outcome*/) {
    return kTransferSize;
}

std::vector<XcpRow> sessionRows() {
    return {
        rowOf("CONNECT", "ff 00", "ff 1d c1 08 08 00 01 01",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.cmdConnect(0);
                  kept = {xcp.m_cfg.xcp.resource, xcp.m_cfg.xcp.commModeBasic};
                  return result;
              },
              {{0, 1}, {0, 2}}),
        rowOf("GET_STATUS", "fd", "ff 11 22 33 44 55 66 77",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.cmdGetStatus();
                  const XcpCfg& live = xcp.m_cfg.xcp;
                  kept = {live.sessionStatus, live.protectionStatus, live.stateNumber, live.sessionConfigId};
                  return result;
              },
              {{0, 1}, {0, 2}, {0, 3}, {0, 4, 2}}),
        rowOf("GET_COMM_MODE_INFO", "fb", "ff 00 22 00 44 55 66 77",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.cmdGetCommModeInfo();
                  const XcpCfg& live = xcp.m_cfg.xcp;
                  kept = {live.commModeOptional, live.maxBs, live.minSt, live.queueSize, live.driverVersion};
                  return result;
              },
              {{0, 2}, {0, 4}, {0, 5}, {0, 6}, {0, 7}}),
        rowOf("UNLOCK", "f7 04 a1 a2 a3 a4", "ff 11 02 03 04 05 06 07",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.sendKey(kData.data(), kTransferSize);
                  kept = {xcp.m_cfg.xcp.protectionStatus};
                  return result;
              },
              {{0, 1}}),
    };
}

/// A seed is all that stands behind byte 1, and no seed is a failure.
bool hasSeed(const Outcome& outcome) {
    return outcome.done && outcome.response.size() > 2;
}

XcpRow seedRow() {
    XcpRow row = rowOf("GET_SEED", "f8 00 04", "ff 04 a1 a2 a3 a4 a5 a6", [](Xcp& xcp, Numbers& seed) {
        std::array<std::uint8_t, Xcp::kSeedRoom> buffer{};
        std::uint8_t length = 0;
        const std::uint32_t result = xcp.getSeed(4, buffer.data(), length);
        seed.assign(buffer.begin(), buffer.begin() + length);
        return result;
    });
    row.result = [](const Outcome& outcome) -> std::uint32_t { return hasSeed(outcome) ? 0 : 1; };
    row.numbers = [](const Outcome& outcome) {
        return hasSeed(outcome) ? Numbers(outcome.response.begin() + 2, outcome.response.end()) : Numbers();
    };
    return row;
}

/// ERR_CMD_SYNCH ends a wait with success but carries no checksum.
bool hasChecksum(const Outcome& outcome) {
    return outcome.done && outcome.response[0] == 0xFF;
}

XcpRow checksumRow() {
    XcpRow row = rowOf("BUILD_CHECKSUM", "f3 00 00 00 44 33 22 11", "ff 09 00 00 44 55 66 77",
                       [](Xcp& xcp, Numbers& kept) {
                           std::uint32_t checksum = kFilled;
                           const std::uint32_t result = xcp.cmdBuildChecksum(0x11223344, checksum);
                           kept = {xcp.m_cfg.xcp.checksumType, checksum};
                           return result;
                       });
    row.result = [](const Outcome& outcome) -> std::uint32_t { return hasChecksum(outcome) ? 0 : 1; };
    row.numbers = [](const Outcome& outcome) {
        return hasChecksum(outcome) ? Numbers{numberAt(outcome.response, 1), numberAt(outcome.response, 4, 4)}
                                    : Numbers{0, kFilled};
    };
    return row;
}

/// The copy is as long as the response, whatever was asked for.
XcpRow shortUploadRow() {
    XcpRow row = rowOf(
        "SHORT_UPLOAD", "f4 04 00 05 44 33 22 11", "ff a1 a2 a3 a4 a5 a6 a7", [](Xcp& xcp, Numbers& stored) {
            std::array<std::uint8_t, Xcp::kFrameRoom> room{};
            room.fill(kFilled);
            const std::uint32_t result = xcp.shortUpload(0x11223344, 5, room.data(), kTransferSize, 1);
            stored.assign(room.begin(), room.begin() + 7);
            return result;
        });
    for (std::size_t position = 1; position < 8; ++position) {
        row.fields.push_back({kFilled, position, 1, true});
    }
    return row;
}

using Transfer = std::uint8_t (Xcp::*)(const std::uint8_t*, std::uint8_t, std::uint8_t);

XcpRow transferRow(const char* name, const char* request, Transfer transfer, Outcome (XcpModel::*run)()) {
    XcpRow row = rowOf(name, request, kPlain, [transfer](Xcp& xcp, Numbers&) -> std::uint32_t {
        return (xcp.*transfer)(kData.data(), kTransferSize, 1);
    });
    row.run = run;
    row.result = run == &XcpModel::exchange ? allBytes : storedBytes;
    return row;
}

XcpRow uploadRow(const char* name, std::function<std::uint32_t(Xcp&, Numbers&)> call,
                 Outcome (XcpModel::*run)()) {
    XcpRow row = rowOf(name, "f5 04", kPlain, std::move(call));
    row.run = run;
    row.result = storedBytes;
    row.slaveBlockMode = run == &XcpModel::uploadBlock;
    return row;
}

std::vector<XcpRow> transferRows() {
    const auto uploads = [](Xcp& xcp, Numbers&) -> std::uint32_t {
        std::array<std::uint8_t, kTransferSize> room{};
        return xcp.uploadBlock(room.data(), kTransferSize, 1);
    };
    const auto uploadsForItsResponse = [](Xcp& xcp, Numbers&) -> std::uint32_t {
        return xcp.cmdUpload(kTransferSize);
    };
    return {
        transferRow("DOWNLOAD", "f0 04 a1 a2 a3 a4", &Xcp::downloadPlain, &XcpModel::exchange),
        transferRow("PROGRAM", "d0 04 a1 a2 a3 a4", &Xcp::programPlain, &XcpModel::exchange),
        transferRow("DOWNLOAD_in_a_block", "f0 04 a1 a2 a3 a4", &Xcp::downloadBlock, &XcpModel::sendOnce),
        transferRow("PROGRAM_in_a_block", "d0 04 a1 a2 a3 a4", &Xcp::programBlock, &XcpModel::sendOnce),
        transferRow("PROGRAM_and_NEXT", "d0 04 a1 a2 a3 a4", &Xcp::programBlockNext, &XcpModel::sendOnce),
        uploadRow("UPLOAD", uploads, &XcpModel::upload),
        uploadRow("UPLOAD_for_its_response", uploadsForItsResponse, &XcpModel::uploadAndKeep),
        uploadRow("UPLOAD_in_a_block", uploads, &XcpModel::uploadBlock),
    };
}

std::vector<XcpRow> daqFactRows() {
    return {
        rowOf("GET_DAQ_CLOCK", "dc", "ff 00 22 33 44 55 66 77",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.cmdGetDaqClock();
                  const XcpCfg& live = xcp.m_cfg.xcp;
                  kept = {live.clockTriggerInfo, live.clockPayloadFormat, live.clockTimestamp};
                  return result;
              },
              {{0, 2}, {0, 3}, {0, 4, 4}}),
        rowOf(
            "GET_DAQ_PROCESSOR_INFO", "da", "ff 11 22 33 44 55 66 77",
            [](Xcp& xcp, Numbers& kept) {
                const std::uint32_t result = xcp.cmdGetDaqProcessorInfo();
                const XcpCfg& live = xcp.m_cfg.xcp;
                kept = {live.daqProperties, live.maxDaq, live.maxEventChannel, live.minDaq, live.daqKeyByte};
                return result;
            },
            {{0, 1}, {1, 2, 2}, {6, 4, 2}, {0, 6}, {0, 7}}),
        rowOf("GET_DAQ_RESOLUTION_INFO", "d9", "ff 11 22 33 44 55 66 77",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.cmdGetDaqResolutionInfo();
                  const XcpCfg& live = xcp.m_cfg.xcp;
                  kept = {live.granularityOdtEntryDaq, live.maxOdtEntrySizeDaq, live.granularityOdtEntryStim,
                          live.maxOdtEntrySizeStim,    live.timestampMode,      live.timestampTicks};
                  return result;
              },
              {{1, 1}, {6, 2}, {1, 3}, {6, 4}, {0, 5}, {1, 6, 2}}),
        rowOf(
            "GET_DAQ_EVENT_INFO", "d7 00 05 00", "ff 11 22 00 44 55 66 77",
            [](Xcp& xcp, Numbers& kept) {
                const std::uint32_t result = xcp.cmdGetDaqEventInfo(5);
                kept.assign(6, kNotThere);
                if (xcp.m_cfg.xcp.events.contains(5)) {
                    const XcpEventCfg& event = xcp.m_cfg.xcp.events[5];
                    kept = {event.properties, event.maxDaqList, event.nameLength,
                            event.timeCycle,  event.timeUnit,   event.priority};
                }
                return result;
            },
            {{kNotThere, 1}, {kNotThere, 2}, {kNotThere, 3}, {kNotThere, 4}, {kNotThere, 5}, {kNotThere, 6}}),
        rowOf("START_STOP_DAQ_LIST", "de 02 07 00", "ff 11 02 03 04 05 06 07",
              [](Xcp& xcp, Numbers& kept) {
                  const std::uint32_t result = xcp.cmdStartStopDaqList(2, 7);
                  const bool isThere = xcp.m_cfg.xcp.daqListInfo.contains(7);
                  kept = {isThere ? xcp.m_cfg.xcp.daqListInfo[7].firstPid : kNotThere};
                  return result;
              },
              {{kNotThere, 1}}),
    };
}

XcpRow programStartRow() {
    return rowOf(
        "PROGRAM_START", "d2", "ff 00 22 33 44 55 66 77",
        [](Xcp& xcp, Numbers& kept) {
            const std::uint32_t result = xcp.cmdProgramStart();
            const XcpCfg& live = xcp.m_cfg.xcp;
            kept = {live.commModePgm, live.maxCtoPgm, live.maxBsPgm, live.minStPgm, live.queueSizePgm};
            return result;
        },
        {{0, 2}, {0, 3}, {0, 4}, {0, 5}, {0, 6}});
}

/// Commands of which nothing is kept.
struct PlainRow {
    const char* name;
    const char* request;
    std::uint32_t (*call)(Xcp&);
};

constexpr PlainRow kPlainRows[] = {
    {"DISCONNECT", "fe", [](Xcp& xcp) { return xcp.cmdDisconnect(); }},
    {"SYNCH", "fc", [](Xcp& xcp) { return xcp.cmdSynch(); }},
    {"SET_MTA", "f6 00 00 05 44 33 22 11", [](Xcp& xcp) { return xcp.cmdSetMta(0x11223344, 5); }},
    {"SET_CAL_PAGE", "eb 83 02 01", [](Xcp& xcp) { return xcp.cmdSetCalPage(0x83, 2, 1); }},
    {"COPY_CAL_PAGE", "e4 01 02 03 04", [](Xcp& xcp) { return xcp.cmdCopyCalPage(1, 2, 3, 4); }},
    {"CLEAR_DAQ_LIST", "e3 00 07 00", [](Xcp& xcp) { return xcp.cmdClearDaqList(7); }},
    {"SET_DAQ_PTR", "e2 00 07 00 02 03", [](Xcp& xcp) { return xcp.cmdSetDaqPtr(7, 2, 3); }},
    {"WRITE_DAQ", "e1 ff 04 05 44 33 22 11",
     [](Xcp& xcp) { return xcp.cmdWriteDaq(0xFF, 4, 5, 0x11223344); }},
    {"SET_DAQ_LIST_MODE", "e0 10 07 00 02 00 03 04",
     [](Xcp& xcp) { return xcp.cmdSetDaqListMode(0x10, 7, 2, 3, 4); }},
    {"START_STOP_SYNCH", "dd 01", [](Xcp& xcp) { return xcp.cmdStartStopSynch(1); }},
    {"FREE_DAQ", "d6", [](Xcp& xcp) { return xcp.cmdFreeDaq(); }},
    {"ALLOC_DAQ", "d5 00 07 00", [](Xcp& xcp) { return xcp.cmdAllocDaq(7); }},
    {"ALLOC_ODT", "d4 00 07 00 02", [](Xcp& xcp) { return xcp.cmdAllocOdt(7, 2); }},
    {"ALLOC_ODT_ENTRY", "d3 00 07 00 02 03", [](Xcp& xcp) { return xcp.cmdAllocOdtEntry(7, 2, 3); }},
    {"PROGRAM_CLEAR", "d1 00 00 00 44 33 22 11", [](Xcp& xcp) { return xcp.cmdProgramClear(0, 0x11223344); }},
    {"PROGRAM_RESET", "cf", [](Xcp& xcp) { return xcp.cmdProgramReset(); }},
};

}  // namespace

std::vector<XcpRow> xcpRows() {
    std::vector<XcpRow> rows = {seedRow(), checksumRow(), shortUploadRow(), programStartRow()};
    for (const std::vector<XcpRow>& more : {sessionRows(), transferRows(), daqFactRows()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    for (const PlainRow& plain : kPlainRows) {
        rows.push_back(rowOf(plain.name, plain.request, kPlain,
                             [call = plain.call](Xcp& xcp, Numbers&) { return call(xcp); }));
    }
    return rows;
}

}  // namespace sweep
