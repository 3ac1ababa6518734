// Records, texts and the functions that do nothing.
#include "tests/channel/ChannelTestSupport.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

using namespace channel_test;

namespace {

template <typename Record>
Record recordOf(const std::string& hex) {
    const std::vector<std::uint8_t> raw = support::bytes(hex);
    EXPECT_EQ(raw.size(), sizeof(Record));
    Record record{};
    std::memcpy(&record, raw.data(), std::min(raw.size(), sizeof record));
    return record;
}

std::string textOf(std::uint32_t code) {
    std::array<char, 128> text{};
    text.fill('#');
    xcpGetErrorText(code, text.data());
    return text.data();
}

}  // namespace

TEST(ChannelRecords, ChannelHasTwentyTwoBytes) {
    const auto record =
        recordOf<XcpCanChannelCfg>("01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16");
    EXPECT_EQ(record.canChannel, 0x01U);
    EXPECT_EQ(std::uint16_t{record.reserved1}, 0x0302U);
    EXPECT_EQ(support::hexText(record.nominalTiming, 8), "04 05 06 07 08 09 0a 0b");
    EXPECT_EQ(record.timingSwitch, 0x0CU);
    EXPECT_EQ(record.reserved2, 0x0DU);
    EXPECT_EQ(support::hexText(record.dataTiming, 8), "0e 0f 10 11 12 13 14 15");
    EXPECT_EQ(record.reserved3, 0x16U);
}

TEST(ChannelRecords, SlaveOnItsBusHasSixteenBytes) {
    const auto record = recordOf<XcpSlaveCanCfg>("01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10");
    EXPECT_EQ(std::uint32_t{record.broadcastId}, 0x04030201U);
    EXPECT_EQ(std::uint32_t{record.masterId}, 0x08070605U);
    EXPECT_EQ(std::uint32_t{record.slaveId}, 0x0C0B0A09U);
    EXPECT_EQ(record.option, 0x0DU);
    EXPECT_EQ(support::hexText(record.reserved, 3), "0e 0f 10");
}

TEST(ChannelRecords, ProtocolHasTwentyFourBytes) {
    const auto record =
        recordOf<XcpSlaveProtoCfg>("01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 18");
    EXPECT_EQ(std::uint16_t{record.t1}, 0x0201U);
    EXPECT_EQ(std::uint16_t{record.t2}, 0x0403U);
    EXPECT_EQ(std::uint16_t{record.t3}, 0x0605U);
    EXPECT_EQ(std::uint16_t{record.t4}, 0x0807U);
    EXPECT_EQ(std::uint16_t{record.t5}, 0x0A09U);
    EXPECT_EQ(std::uint16_t{record.t6}, 0x0C0BU);
    EXPECT_EQ(std::uint16_t{record.t7}, 0x0E0DU);
    EXPECT_EQ(record.byteOrder, 0x0FU);
    EXPECT_EQ(record.addressGranularity, 0x10U);
    EXPECT_EQ(record.retryCount, 0x11U);
    EXPECT_EQ(record.padFrames, 0x12U);
    EXPECT_EQ(record.padByte, 0x13U);
    EXPECT_EQ(support::hexText(record.reserved, 5), "14 15 16 17 18");
}

TEST(ChannelRecords, PageHasTwoBytes) {
    const auto record = recordOf<XcpPageRef>("01 02");
    EXPECT_EQ(record.segment, 1U);
    EXPECT_EQ(record.page, 2U);
}

TEST(ChannelRecords, EntryHasSevenBytes) {
    const auto record = recordOf<XcpDaqEntry>("01 02 03 04 05 06 07");
    EXPECT_EQ(record.bitOffset, 1U);
    EXPECT_EQ(record.size, 2U);
    EXPECT_EQ(record.addressExtension, 3U);
    EXPECT_EQ(std::uint32_t{record.address}, 0x07060504U);
}

TEST(ChannelRecords, ListSetupHasSixBytes) {
    const auto record = recordOf<XcpDaqListSetup>("01 02 03 04 05 06");
    EXPECT_EQ(std::uint16_t{record.listNumber}, 0x0201U);
    EXPECT_EQ(std::uint16_t{record.event}, 0x0403U);
    EXPECT_EQ(record.prescaler, 5U);
    EXPECT_EQ(record.priority, 6U);
}

TEST(ChannelErrorText, TextsOfStatuses) {
    EXPECT_EQ(textOf(256), "Success");
    EXPECT_EQ(textOf(512), "Not Implemented");
    EXPECT_EQ(textOf(768), "Invalid Parmameter");
    EXPECT_EQ(textOf(1024), "Max Channels is error");
    EXPECT_EQ(textOf(1280), "Handle is invalid");
    EXPECT_EQ(textOf(1536), "Internal timeout");
    EXPECT_EQ(textOf(1792), "Empty queue");
    EXPECT_EQ(textOf(2048), "Insufficient buffer");
    EXPECT_EQ(textOf(2304), "Recive msg timeout");
    EXPECT_EQ(textOf(49), "Generic error.");
    EXPECT_EQ(textOf(0x21), "Command syntax invalid ");
}

TEST(ChannelErrorText, TextOfAnUnknownStatusNamesItsLowByte) {
    EXPECT_EQ(textOf(0x1FE), "UnKnow 0xFE");
}

TEST(ChannelErrorText, NothingIsWrittenBehindTheTerminator) {
    std::array<char, 16> text{};
    text.fill('#');
    xcpGetErrorText(256, text.data());
    EXPECT_EQ(std::string(text.begin(), text.end()), std::string("Success\0########", 16));
}

// Hosts provide 128 characters.
TEST(ChannelErrorText, NoTextIsLongerThanWhatHostsProvide) {
    std::size_t longest = 0;
    for (std::uint32_t code = 0; code < 4096; ++code) {
        std::array<char, 1024> text{};
        xcpGetErrorText(code, text.data());
        longest = std::max(longest, std::strlen(text.data()));
    }
    EXPECT_EQ(longest, 120U);
}

TEST(ChannelErrorText, NullTextIsNotWritten) {
    xcpGetErrorText(256, nullptr);
    xcpGetErrorText(99999, nullptr);
}

class ChannelQueue : public ChannelTest {};

TEST_F(ChannelQueue, BothFunctionsDoNothingForAnyHandle) {
    for (const std::uint32_t handle : {slave, 1U, 0xFFFFFFFFU}) {
        EXPECT_EQ(xcpResetQueue(handle), 256U);
        EXPECT_EQ(xcpDequeuePacket(handle), 256U);
    }
    EXPECT_EQ(sent(), Texts{});
    EXPECT_EQ(xcpGetStatus(slave, bytes(), size()), kSuccess);
}
