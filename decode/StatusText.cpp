#include "decode/StatusText.h"

#include "decode/ValueText.h"

#include <algorithm>
#include <array>
#include <functional>
#include <span>
#include <string_view>

namespace {

struct StatusRow {
    std::uint32_t status;
    std::string_view text;
};

constexpr std::array ccpTexts = std::to_array<StatusRow>({
    {0x00, "Acknowledge,No error."},
    {0x01, "DAQ processor overload."},
    {0x10, "Command processor busy"},
    {0x11, "DAQ processor busy"},
    {0x12, "Internal timeout"},
    {0x18, "Key request"},
    {0x19, "Session status request"},
    {0x20, "Cold start request"},
    {0x21, "Calibration data init request"},
    {0x22, "DAQ list init request"},
    {0x23, "Code update request"},
    {0x30, "Unknown command"},
    {0x32, "Parameter(s) out of range"},
    {0x33, "Access denied"},
    {0x34, "Overload"},
    {0x35, "Access locked"},
    {0x36, "Resource/Function not available"},
});

// Hosts compare these texts, so the odd spellings stay: the blank behind 0x21, "Seed& Key" and "inbetween",
// "Parmameter" and "Recive".
constexpr std::array xcpTexts = std::to_array<StatusRow>({
    {0x00, "Command processor synchronization."},
    {0x10, "Command was not executed"},
    {0x11, "Command rejected because DAQ is running."},
    {0x12, "Command rejected because PGM is running."},
    {0x20, "Unknown command or not implemented optional command."},
    {0x21, "Command syntax invalid "},
    {0x22, "Command syntax valid but command parameter(s) out of range."},
    {0x23, "The memory location is write protected."},
    {0x24, "The memory location is not accessible."},
    {0x25, "Access denied, Seed& Key is required"},
    {0x26, "Selected page not available"},
    {0x27, "Selected mode not available"},
    {0x28, "Selected segment not valid"},
    {0x29, "Sequence error"},
    {0x2A, "DAQ configuration not valid"},
    {0x30, "Memory overflow error"},
    {0x31, "Generic error."},
    {0x32, "The slave internal program verify routine detects an error."},
    {0x33, "Access to the requested resource is temporary not possible"},
    {0x34, "Unknown sub command or not implemented optional sub command."},
    {0x35,
     "There was a change of the synchronization status inbetween the last upload of clock information and "
     "start of measurement"},
    {0xFC, "ASAM MCD - 1 - XCP AS SW - DBG - over - XCP related errors"},
    {256, "Success"},
    {512, "Not Implemented"},
    {768, "Invalid Parmameter"},
    {1024, "Max Channels is error"},
    {1280, "Handle is invalid"},
    {1536, "Internal timeout"},
    {1792, "Empty queue"},
    {2048, "Insufficient buffer"},
    {2304, "Recive msg timeout"},
});

static_assert(ccpTexts.size() == 17);
static_assert(xcpTexts.size() == 31);

/// Strictly ascending: the look-up halves the table, and no status stands twice.
constexpr bool isAscending(std::span<const StatusRow> rows) {
    return std::ranges::adjacent_find(rows, std::ranges::greater_equal{}, &StatusRow::status) == rows.end();
}

static_assert(isAscending(ccpTexts));
static_assert(isAscending(xcpTexts));

std::string statusText(std::span<const StatusRow> rows, std::uint32_t status) {
    const auto row = std::ranges::lower_bound(rows, status, {}, &StatusRow::status);
    if (row != rows.end() && row->status == status) {
        return std::string(row->text);
    }
    return "UnKnow " + trace_view::hexText(status & 0xFFU);
}

}  // namespace

std::string ccpStatusText(std::uint32_t status) {
    return statusText(ccpTexts, status & 0xFFU);
}

std::string xcpStatusText(std::uint32_t status) {
    return statusText(xcpTexts, status);
}
