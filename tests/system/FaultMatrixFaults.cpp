#include "tests/system/FaultMatrixFaults.h"

#include <utility>

namespace systemtest {
namespace {

struct ErrorRow {
    std::uint8_t code;
    const char* text;
};

const std::vector<ErrorRow> kXcpErrors = {
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
};

const std::vector<ErrorRow> kCcpErrors = {
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
    {0x31, "UnKnow 0x31"},
    {0x32, "Parameter(s) out of range"},
    {0x33, "Access denied"},
    {0x34, "Overload"},
    {0x35, "Access locked"},
    {0x36, "Resource/Function not available"},
};

const std::vector<Fault> kCommonFaults = {
    {"silence for ever", FaultKind::silence, Fault::kForever},
    {"silence once", FaultKind::silence},
    {"reset", FaultKind::reset},
    {"late answer", FaultKind::late},
    {"slow answers", FaultKind::slow, Fault::kForever},
    {"empty answer", FaultKind::cut},
    {"one byte once", FaultKind::cut, 1, 0, 1},
    {"one byte for ever", FaultKind::cut, Fault::kForever, 0, 1},
    {"three bytes once", FaultKind::cut, 1, 0, 3},
    {"long answers", FaultKind::extended, Fault::kForever},
    {"repeated answers", FaultKind::repeated, Fault::kForever},
    {"foreign frames", FaultKind::foreign, Fault::kForever},
};

const std::vector<Fault> kXcpFaults = {
    {"busy for a while", FaultKind::busyFirst, Fault::kForever, 0x10},
    {"programming for a while", FaultKind::busyFirst, Fault::kForever, 0x12},
};

const std::vector<Fault> kCcpFaults = {
    {"three bytes for ever", FaultKind::cut, Fault::kForever, 0, 3},
    {"wrong counter once", FaultKind::wrongCounter},
    {"wrong counter for ever", FaultKind::wrongCounter, Fault::kForever},
    {"wrong counter in an error", FaultKind::wrongCounter, Fault::kForever, 0x33},
    {"busy twice", FaultKind::error, 2, 0x10},
    {"busy three times", FaultKind::error, 3, 0x10},
};

const std::vector<ErrorRow>& errorsOf(Protocol protocol) {
    return protocol == Protocol::xcp ? kXcpErrors : kCcpErrors;
}

}  // namespace

std::vector<Fault> faultsOf(Protocol protocol) {
    std::vector<Fault> faults = kCommonFaults;
    const std::vector<Fault>& own = protocol == Protocol::xcp ? kXcpFaults : kCcpFaults;
    faults.insert(faults.end(), own.begin(), own.end());
    for (const ErrorRow& row : errorsOf(protocol)) {
        faults.push_back({"error " + hexByte(row.code) + " once", FaultKind::error, 1, row.code});
        faults.push_back(
            {"error " + hexByte(row.code) + " for ever", FaultKind::error, Fault::kForever, row.code});
    }
    return faults;
}

std::string errorTextOf(Protocol protocol, std::uint8_t code) {
    for (const ErrorRow& row : errorsOf(protocol)) {
        if (row.code == code) {
            return row.text;
        }
    }
    return "UnKnow " + hexByte(code);
}

std::string hexByte(std::uint8_t code) {
    static constexpr const char* kDigits = "0123456789abcdef";
    return {'0', 'x', kDigits[code >> 4], kDigits[code & 0x0F]};
}

}  // namespace systemtest
