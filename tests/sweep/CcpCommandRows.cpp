#include "tests/sweep/CcpCommandRows.h"

#include "tests/support/HexText.h"

#include <algorithm>
#include <array>

namespace sweep {
namespace {

using support::bytes;
using Ccp = CCP_MOUDLE::CcpProtoTransmit;

/// What variables and buffers hold ahead of a command.
constexpr std::uint8_t kFilled = 0xEE;

constexpr std::array<std::uint8_t, 6> kData = {0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6};

const Bytes& positiveAnswer() {
    static const Bytes kAnswer = {0xFF, 0, 0, 4, 3, 2, 1, 9};
    return kAnswer;
}

CcpRow rowOf(const char* name, const char* request, std::function<std::uint32_t(Ccp&, Numbers&)> call,
             std::vector<Field> fields = {}) {
    CcpRow row{
        .name = name, .request = bytes(request), .positive = positiveAnswer(), .call = std::move(call)};
    row.fields = std::move(fields);
    return row;
}

/// Four bytes of room and how many of them a command filled.
struct Room {
    std::array<std::uint8_t, kTransferSize> bytes{kFilled, kFilled, kFilled, kFilled};
    std::uint8_t count = kTransferSize;

    [[nodiscard]] Numbers numbers() const {
        Numbers all(bytes.begin(), bytes.end());
        all.push_back(count);
        return all;
    }
};

/// @p count bytes of the response from @p position on, in the room of a command.
Numbers filled(const Bytes& response, std::size_t position, std::size_t count) {
    Numbers all(kTransferSize, kFilled);
    for (std::size_t i = 0; i < count; ++i) {
        all[i] = numberAt(response, position + i);
    }
    all.push_back(static_cast<std::uint32_t>(count));
    return all;
}

Numbers untouchedRoom() {
    return Room{}.numbers();
}

std::vector<CcpRow> sessionRows() {
    std::vector<CcpRow> rows = {
        rowOf("CONNECT", "01 00 02 01", [](Ccp& ccp, Numbers&) { return ccp.cmdConnect(0x0102); }),
        rowOf("DISCONNECT", "07 00 01 00 02 01",
              [](Ccp& ccp, Numbers&) -> std::uint32_t { return ccp.cmdDisconnect(0x0102) ? 1 : 0; }),
        rowOf("GET_CCP_VERSION", "1b 00 02 01",
              [](Ccp& ccp, Numbers& out) {
                  bool isVersion2 = true;
                  const std::uint32_t result = ccp.cmdGetCcpVersion(isVersion2);
                  out = {isVersion2 ? 1U : 0U};
                  return result;
              }),
        rowOf("EXCHANGE_ID", "17 00 a1 a2 a3 a4 a5 a6",
              [](Ccp& ccp, Numbers& out) {
                  std::uint8_t length = kFilled;
                  std::uint8_t resources = kFilled;
                  const std::uint32_t result = ccp.cmdExchangeId(kData, length, resources);
                  out = {length, resources};
                  return result;
              }),
        rowOf("SET_S_STATUS", "0c 00 83", [](Ccp& ccp, Numbers&) { return ccp.cmdSetSStatus(0x83); }),
        rowOf("GET_S_STATUS", "0d 00",
              [](Ccp& ccp, Numbers& out) {
                  std::uint8_t status = kFilled;
                  const std::uint32_t result = ccp.cmdGetSStatus(status);
                  out = {status};
                  return result;
              },
              {{kFilled, 3}}),
        rowOf("GET_SEED", "12 00 40",
              [](Ccp& ccp, Numbers&) {
                  msgBuf response;
                  return ccp.cmdGetSeed(0x40, response);
              }),
        rowOf("UNLOCK", "13 00 a1 a2 a3 a4",
              [](Ccp& ccp, Numbers&) { return ccp.cmdUnlock(kData.data(), kTransferSize); }),
    };
    rows[1].result = [](const Outcome& outcome) -> std::uint32_t { return outcome.done ? 1 : 0; };
    rows[2].positive[3] = 2;
    rows[2].numbers = [](const Outcome& outcome) {
        return Numbers{!outcome.done || numberAt(outcome.response, 3) == 2 ? 1U : 0U};
    };
    rows[3].numbers = [](const Outcome& outcome) {
        return outcome.done ? Numbers{numberAt(outcome.response, 3),
                                      numberAt(outcome.response, 5) & numberAt(outcome.response, 6)}
                            : Numbers{kFilled, kFilled};
    };
    return rows;
}

std::vector<CcpRow> memoryRows() {
    std::vector<CcpRow> rows = {
        rowOf("BUILD_CHKSUM", "0e 00 44 33 22 11",
              [](Ccp& ccp, Numbers& out) {
                  Room room;
                  const std::uint32_t result = ccp.cmdBuildChksum(0x11223344, room.bytes.data(), room.count);
                  out = room.numbers();
                  return result;
              }),
        rowOf("SHORT_UP", "0f 00 04 05 44 33 22 11",
              [](Ccp& ccp, Numbers& out) {
                  Room room;
                  const std::uint32_t result = ccp.cmdShortUp(0x11223344, 5, room.bytes.data(), room.count);
                  out = room.numbers();
                  return result;
              }),
        rowOf("UPLOAD", "04 00 04 00 00 00 00",
              [](Ccp& ccp, Numbers&) {
                  Room room;
                  return ccp.uploadBlock(room.bytes.data(), kTransferSize);
              }),
        rowOf("GET_ACTIVE_CAL_PAGE", "09 00",
              [](Ccp& ccp, Numbers& out) {
                  std::uint32_t address = kFilled;
                  std::uint8_t extension = kFilled;
                  const std::uint32_t result = ccp.cmdGetActiveCalPage(address, extension);
                  out = {extension, address};
                  return result;
              },
              {{kFilled, 3}, {kFilled, 4, 4}}),
    };
    rows[0].numbers = [](const Outcome& outcome) {
        return outcome.done
                   ? filled(outcome.response, 4, std::min<std::size_t>(numberAt(outcome.response, 3), 4))
                   : untouchedRoom();
    };
    rows[1].numbers = [](const Outcome& outcome) {
        const bool isThere = outcome.done && outcome.response.size() >= 3;
        return isThere ? filled(outcome.response, 3, std::min<std::size_t>(outcome.response.size() - 3, 4))
                       : untouchedRoom();
    };
    rows[2].run = &CcpModel::sendOnce;
    rows[2].result = [](const Outcome& outcome) { return static_cast<std::uint32_t>(outcome.stored); };
    return rows;
}

/// Transfers that do not tell what the ECU said.
std::vector<CcpRow> deafRows() {
    std::vector<CcpRow> rows = {
        rowOf("PROGRAM_6", "22 00 a1 a2 a3 a4 a5 a6",
              [](Ccp& ccp, Numbers&) -> std::uint32_t { return ccp.cmdProgram6(kData.data()); }),
        rowOf("PROGRAM_until_it_fails", "18 00 04 a1 a2 a3 a4",
              [](Ccp& ccp, Numbers&) -> std::uint32_t {
                  return ccp.programBytes(kTransferSize, kData.data());
              }),
        rowOf("DNLOAD_until_it_fails", "03 00 04 a1 a2 a3 a4",
              [](Ccp& ccp, Numbers&) -> std::uint32_t {
                  ccp.downloadBytes(kTransferSize, kData.data(), false);
                  return 0;
              }),
    };
    rows[0].result = [](const Outcome&) -> std::uint32_t { return 6; };
    rows[1].result = [](const Outcome&) -> std::uint32_t { return kTransferSize; };
    rows[2].result = [](const Outcome&) -> std::uint32_t { return 0; };
    return rows;
}

CcpRow daqSizeRow() {
    return rowOf("GET_DAQ_SIZE", "14 00 07 00 44 33 22 11",
                 [](Ccp& ccp, Numbers& out) {
                     std::uint8_t odts = kFilled;
                     std::uint8_t firstPid = kFilled;
                     const std::uint32_t result = ccp.cmdGetDaqSize(7, 0x11223344, odts, firstPid);
                     out = {odts, firstPid};
                     return result;
                 },
                 {{kFilled, 3}, {kFilled, 4}});
}

/// Commands that hand nothing out.
struct PlainRow {
    const char* name;
    const char* request;
    std::uint32_t (*call)(Ccp&);
};

constexpr PlainRow kPlainRows[] = {
    {"SET_MTA", "02 00 00 05 44 33 22 11", [](Ccp& ccp) { return ccp.cmdSetMta(0x11223344, 5); }},
    {"DNLOAD", "03 00 04 a1 a2 a3 a4", [](Ccp& ccp) { return ccp.cmdDnload(kData.data(), kTransferSize); }},
    {"SELECT_CAL_PAGE", "11 00", [](Ccp& ccp) { return ccp.cmdSelectCalPage(); }},
    {"CLEAR_MEMORY", "10 00 44 33 22 11", [](Ccp& ccp) { return ccp.cmdClearMemory(0x11223344); }},
    {"MOVE", "19 00 44 33 22 11", [](Ccp& ccp) { return ccp.cmdMove(0x11223344); }},
    {"PROGRAM", "18 00 04 a1 a2 a3 a4", [](Ccp& ccp) { return ccp.cmdProgram(kData.data(), kTransferSize); }},
    {"SET_DAQ_PTR", "15 00 07 02 03", [](Ccp& ccp) { return ccp.cmdSetDaqPtr(7, 2, 3); }},
    {"WRITE_DAQ", "16 00 04 05 44 33 22 11", [](Ccp& ccp) { return ccp.cmdWriteDaq(4, 5, 0x11223344); }},
    {"START_STOP", "06 00 01 07 02 03 04 00", [](Ccp& ccp) { return ccp.cmdStartStop(1, 7, 2, 3, 4); }},
    {"START_STOP_ALL", "08 00 00", [](Ccp& ccp) { return ccp.cmdStartStopAll(); }},
};

}  // namespace

std::vector<CcpRow> ccpRows() {
    std::vector<CcpRow> rows = sessionRows();
    for (const std::vector<CcpRow>& more : {memoryRows(), deafRows()}) {
        rows.insert(rows.end(), more.begin(), more.end());
    }
    for (const PlainRow& plain : kPlainRows) {
        rows.push_back(
            rowOf(plain.name, plain.request, [call = plain.call](Ccp& ccp, Numbers&) { return call(ccp); }));
    }
    rows.push_back(daqSizeRow());
    return rows;
}

}  // namespace sweep
