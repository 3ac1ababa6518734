#include "decode/StatusText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

namespace {

const std::map<std::uint32_t, std::string> ccpTexts{
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

const std::map<std::uint32_t, std::string> xcpTexts{
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
};

/// "0x" and upper case digits of a byte, without the means of the library.
std::string hexByte(std::uint32_t value) {
    const std::string digits = "0123456789ABCDEF";
    const std::string high = value < 16 ? "" : std::string(1, digits[value / 16]);
    return "0x" + high + digits[value % 16];
}

TEST(CcpStatusText, KnowsItsSeventeenCodesAndNumbersTheOthers) {
    ASSERT_EQ(ccpTexts.size(), 17U);
    for (std::uint32_t code = 0; code < 256; ++code) {
        const auto known = ccpTexts.find(code);
        EXPECT_EQ(ccpStatusText(code), known != ccpTexts.end() ? known->second : "UnKnow " + hexByte(code));
    }
}

TEST(CcpStatusText, LooksAtTheLowByteAlone) {
    EXPECT_EQ(ccpStatusText(0x100), "Acknowledge,No error.");
    EXPECT_EQ(ccpStatusText(0xFFFFFF33), "Access denied");
    EXPECT_EQ(ccpStatusText(0x12345631), "UnKnow 0x31");
}

TEST(CcpStatusText, OfASilentEcuIsANumber) {
    EXPECT_EQ(ccpStatusText(128), "UnKnow 0x80");
}

TEST(CcpStatusText, OfCode31HexIsUnKnow) {
    EXPECT_EQ(ccpStatusText(0x31), "UnKnow 0x31");
}

TEST(XcpStatusText, KnowsItsThirtyOneCodesAndNumbersTheOthersByTheirLowByte) {
    ASSERT_EQ(xcpTexts.size(), 31U);
    for (std::uint32_t code = 0; code < 4096; ++code) {
        const auto known = xcpTexts.find(code);
        EXPECT_EQ(xcpStatusText(code),
                  known != xcpTexts.end() ? known->second : "UnKnow " + hexByte(code % 256));
    }
}

TEST(XcpStatusText, OfAStatusAboveTheTableShowsItsLowByte) {
    EXPECT_EQ(xcpStatusText(2560), "UnKnow 0x0");
    EXPECT_EQ(xcpStatusText(0xFFFFFFFF), "UnKnow 0xFF");
    EXPECT_EQ(xcpStatusText(0x80000010), "UnKnow 0x10");
}

TEST(XcpStatusText, OfCode10HexDiffersFromCcp) {
    EXPECT_EQ(xcpStatusText(0x10), "Command was not executed");
    EXPECT_EQ(ccpStatusText(0x10), "Command processor busy");
}

TEST(XcpStatusText, OfNoAnswerIsRecive) {
    EXPECT_EQ(xcpStatusText(2304), "Recive msg timeout");
}

TEST(XcpStatusText, HasAtMost120Characters) {
    for (std::uint32_t code = 0; code < 4096; ++code) {
        EXPECT_LE(xcpStatusText(code).size(), 120U);
    }
    EXPECT_EQ(xcpStatusText(0x35).size(), 120U);
}

}  // namespace
