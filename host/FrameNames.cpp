#include "host/FrameNames.h"

#include <TalvexSDK.h>

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace host {
namespace {

struct CodeName {
    std::uint8_t code;
    std::string_view name;
};

// The library names the commands of both protocols by one table, which has no room for these: a code of one
// protocol that the other uses differently, and codes that are the first byte of answers, too.
constexpr CodeName kMoreXcpCommands[] = {{0xFE, "DISCONNECT"}, {0xFF, "CONNECT"}};
constexpr CodeName kMoreCcpCommands[] = {{0x12, "GET_SEED"}, {0x13, "UNLOCK"}};

constexpr std::uint8_t kLeastXcpCommand = 0xC0;
constexpr std::string_view kNoName = "UNKNOWN_PID";

constexpr CodeName kEvents[] = {
    {0x00, "EV_RESUME_MODE"},
    {0x01, "EV_CLEAR_DAQ"},
    {0x02, "EV_STORE_DAQ"},
    {0x03, "EV_STORE_CAL"},
    {0x05, "EV_CMD_PENDING"},
    {0x06, "EV_DAQ_OVERLOAD"},
    {0x07, "EV_SESSION_TERMINATED"},
    {0x08, "EV_TIME_SYNC"},
    {0x09, "EV_STIM_TIMEOUT"},
    {0x0A, "EV_SLEEP"},
    {0x0B, "EV_WAKE_UP"},
    {0x0C, "EV_ECU_STATE_CHANGE"},
    {0xFC, "EV_DBG"},
    {0xFD, "EV_POD"},
    {0xFE, "EV_USER"},
    {0xFF, "EV_TRANSPORT"},
};

// In the words of the library's own trace.
constexpr CodeName kReturnCodes[] = {
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
};

template <std::size_t N>
std::string_view find(const CodeName (&rows)[N], std::uint8_t code) {
    const auto* const row =
        std::find_if(std::begin(rows), std::end(rows), [&](const CodeName& r) { return r.code == code; });
    return row == std::end(rows) ? std::string_view() : row->name;
}

/// The library's name, or nothing if the code is not one of @p protocol.
std::string libraryName(Protocol protocol, std::uint8_t code, std::uint8_t subCode) {
    if ((protocol == Protocol::xcp) != (code >= kLeastXcpCommand)) {
        return {};
    }
    const std::string name = talvex_interface::getCommandName(code, subCode, false);
    const bool named = !name.empty() && name.rfind(kNoName, 0) != 0;
    return named ? name.substr(name.find_first_not_of(' ')) : std::string();
}

}  // namespace

std::string commandTitle(Protocol protocol, std::uint8_t code, std::uint8_t subCode) {
    std::string name(protocol == Protocol::xcp ? find(kMoreXcpCommands, code) : find(kMoreCcpCommands, code));
    if (name.empty()) {
        name = libraryName(protocol, code, subCode);
    }
    return name.empty() ? fmt::format("command 0x{:02X}", code) : name;
}

std::string eventTitle(std::uint8_t code) {
    const std::string_view name = find(kEvents, code);
    return name.empty() ? fmt::format("EV 0x{:02X}", code) : std::string(name);
}

std::string returnCodeText(std::uint8_t code) {
    const std::string_view text = find(kReturnCodes, code);
    return text.empty() ? fmt::format("UnKnow 0x{:X}", code) : std::string(text);
}

}  // namespace host
