// Frames whose form depends on MAX_CTO and on the address granularity.
#include "tests/channel/ChannelCalls.h"
#include "tests/channel/ChannelTestSupport.h"

using namespace channel_test;

namespace {

/// What a host hands over: bytes that count up from 1, as many as a count can say.
const std::vector<std::uint8_t> kData = support::countingBytes(255, 1);

/// `head` and, behind it, bytes that count up from 1 to `last`.
std::string counted(const std::string& head, std::uint8_t last) {
    return head + " " + support::hexText(support::countingBytes(last, 1));
}

struct FormRow {
    std::uint8_t maxCto;
    std::uint8_t granularity;
    std::uint8_t count;
    std::string frame;  ///< behind its code; "-" is a frame of length 0
};

class FrameForms : public ChannelTest {
protected:
    void has(std::uint8_t maxCto, std::uint8_t granularity) {
        object().m_cfg.maxCto = maxCto;
        object().m_cfg.xcp.addressGranularity = granularity;
    }

    /// @return the one frame that a call sent
    std::string frameOf(const char* function, const Args& args) {
        EXPECT_EQ(functionOf(function).call(args, {slave, bytes(), size()}), kSuccess);
        const Texts frames = sent();
        return frames.size() == 1 ? frames[0] : std::to_string(frames.size()) + " frames";
    }

    void follows(const char* function, const std::string& code, const std::vector<FormRow>& rows) {
        for (const FormRow& row : rows) {
            has(row.maxCto, row.granularity);
            const std::string expected = row.frame == "-"    ? ""
                                         : row.frame.empty() ? code
                                                             : code + " " + row.frame;
            EXPECT_EQ(frameOf(function, {.b0 = row.count, .data = kData.data()}), expected)
                << function << " maxCto " << int(row.maxCto) << " granularity " << int(row.granularity)
                << " count " << int(row.count);
        }
    }
};

/// DOWNLOAD and PROGRAM: byte 1 is the number of bytes. Above granularity 2 the data stand behind two bytes
/// of alignment, for which no room was counted.
const std::vector<FormRow>& plainRows() {
    static const std::vector<FormRow> rows{
        {8, 1, 0, "00"},
        {8, 1, 1, "01 01"},
        {8, 1, 3, "03 01 02 03"},
        {8, 1, 6, "06 01 02 03 04 05 06"},
        {8, 1, 7, "06 01 02 03 04 05 06"},
        {8, 1, 255, "06 01 02 03 04 05 06"},
        {8, 0, 4, "04 01 02 03 04"},
        {8, 2, 4, "04 01 02 03 04"},
        {8, 2, 255, "06 01 02 03 04 05 06"},
        {8, 3, 8, "04 00 00 01 02 03 04"},
        {8, 4, 8, "04 00 00 01 02 03 04"},
        {8, 4, 4, "02 00 00 01 02"},
        {8, 4, 3, "01 00 00 01"},
        {8, 4, 2, "00 00 00"},
        {8, 4, 1, "00 00"},
        {8, 4, 0, "00"},
        {8, 255, 8, "04 00 00 01 02 03 04"},
        {64, 1, 4, "04 01 02 03 04"},
        {64, 1, 62, counted("3e", 62)},
        {64, 1, 63, counted("3e", 62)},
        {64, 1, 255, counted("3e", 62)},
        {64, 2, 255, counted("3e", 62)},
        {64, 4, 255, counted("3c 00 00", 60)},
        {64, 4, 60, counted("3a 00 00", 58)},
        {2, 1, 4, "00"},
        {3, 4, 8, "00 00"},
        {1, 1, 4, "-"},
        {0, 1, 4, "-"},
        {0, 4, 255, "-"},
        {255, 1, 255, counted("3e", 62)},
        {255, 4, 255, counted("3c 00 00", 60)},
    };
    return rows;
}

/// DOWNLOAD_NEXT and PROGRAM_NEXT: byte 1 is what is still to come, in elements.
const std::vector<FormRow>& nextRows() {
    static const std::vector<FormRow> rows{
        {8, 1, 0, "00"},
        {8, 1, 4, "04 01 02 03 04"},
        {8, 1, 6, "06 01 02 03 04 05 06"},
        {8, 1, 20, "14 01 02 03 04 05 06"},
        {8, 1, 255, "ff 01 02 03 04 05 06"},
        {8, 0, 20, "14 01 02 03 04 05 06"},
        {8, 2, 0, "00"},
        {8, 2, 1, "01 00"},
        {8, 2, 4, "02 01 02 03 04"},
        {8, 2, 5, "03 01 02 03 04 00"},
        {8, 2, 20, "0a 01 02 03 04 05 06"},
        {8, 4, 3, "01 00 00 00"},
        {8, 4, 4, "01 00 00 00 00"},
        {8, 4, 8, "02 00 00 01 02 03 04"},
        {8, 4, 0, "00"},
        {8, 3, 8, "03 00 01 02 03 00 00"},
        {64, 1, 255, counted("ff", 62)},
        {64, 2, 255, counted("80", 62)},
        {64, 4, 255, counted("40 00 00", 60)},
        {64, 4, 8, "02 00 00 01 02 03 04 00 00"},
        {2, 1, 4, "04"},
        {1, 1, 4, ""},
        {0, 1, 4, "-"},
        {0, 4, 255, "-"},
        {255, 1, 255, counted("ff", 62)},
        {8, 65, 255, "04 00 00 00 00 00 00"},
        {8, 255, 255, "01 00 00 00 00 00 00"},
    };
    return rows;
}

/// DOWNLOAD_MAX and PROGRAM_MAX: no count at all.
const std::vector<FormRow>& maxRows() {
    static const std::vector<FormRow> rows{
        {8, 0, 0, "01 02 03 04 05 06 07"},
        {8, 1, 0, "01 02 03 04 05 06 07"},
        {8, 2, 0, "00 01 02 03 04 05 06"},
        {8, 3, 0, "00 00 01 02 03 04 05"},
        {8, 4, 0, "00 00 01 02 03 04 05"},
        {8, 255, 0, "00 00 01 02 03 04 05"},
        {64, 1, 0, support::hexText(support::countingBytes(63, 1))},
        {64, 2, 0, counted("00", 62)},
        {64, 4, 0, counted("00 00", 61)},
        {2, 4, 0, "00"},
        {1, 1, 0, ""},
        {0, 1, 0, "-"},
        {0, 4, 0, "-"},
        {255, 1, 0, support::hexText(support::countingBytes(63, 1))},
        {255, 4, 0, counted("00 00", 61)},
    };
    return rows;
}

}  // namespace

TEST_F(FrameForms, Download) {
    follows("xcpDownload", "f0", plainRows());
}

TEST_F(FrameForms, Program) {
    follows("xcpProgram", "d0", plainRows());
}

TEST_F(FrameForms, DownloadNext) {
    follows("xcpDownloadNext", "ef", nextRows());
}

TEST_F(FrameForms, ProgramNext) {
    follows("xcpProgramNext", "ca", nextRows());
}

// With the code of DOWNLOAD_NEXT, as hosts of this interface know it.
TEST_F(FrameForms, DownloadMaxGoesOutAsDownloadNext) {
    follows("xcpDownloadMax", "ef", maxRows());
}

TEST_F(FrameForms, ProgramMax) {
    follows("xcpProgramMax", "c9", maxRows());
}

TEST_F(FrameForms, DownloadOfFourByteElementsCarriesFourBytesFromOffsetFour) {
    has(8, 4);
    EXPECT_EQ(frameOf("xcpDownload", {.b0 = 8, .data = kData.data()}), "f0 04 00 00 01 02 03 04");
}

TEST_F(FrameForms, UnusedArgumentChangesNothing) {
    const Args args{.b0 = 3, .b1 = 0xFF, .data = kData.data()};
    EXPECT_EQ(frameOf("xcpDownload", args), "f0 03 01 02 03");
    EXPECT_EQ(frameOf("xcpDownloadNext", args), "ef 03 01 02 03");
    EXPECT_EQ(frameOf("xcpProgram", args), "d0 03 01 02 03");
    EXPECT_EQ(frameOf("xcpProgramNext", args), "ca 03 01 02 03");
}

TEST_F(FrameForms, NullDataIsNoData) {
    EXPECT_EQ(frameOf("xcpDownload", {.b0 = 4}), "f0 00");
    EXPECT_EQ(frameOf("xcpProgram", {.b0 = 255}), "d0 00");
    EXPECT_EQ(frameOf("xcpDownloadNext", {.b0 = 4}), "ef 00");
    EXPECT_EQ(frameOf("xcpProgramNext", {.b0 = 255}), "ca 00");
    EXPECT_EQ(frameOf("xcpDownloadMax", {}), "ef 00 00 00 00 00 00 00");
    EXPECT_EQ(frameOf("xcpProgramMax", {}), "c9 00 00 00 00 00 00 00");
    EXPECT_EQ(frameOf("xcpUserCommand", {.b0 = 4, .b1 = 9}), "f1 09");
    EXPECT_EQ(frameOf("xcpTransportLayerCommand", {.b0 = 255, .b1 = 9}), "f2 09");
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 4}), "f7 04");
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 4}), "c7 04");
    has(64, 1);
    EXPECT_EQ(frameOf("xcpShortDownload", {.b0 = 4}), "ed 00 00 00 00 00 00 00");
}

TEST_F(FrameForms, SubCommandCarriesUpToSixtyTwoBytesWhateverMaxCtoIs) {
    for (const std::uint8_t maxCto : support::bytes("00 08 40 ff")) {
        has(maxCto, 1);
        EXPECT_EQ(frameOf("xcpUserCommand", {.b0 = 10, .b1 = 7, .data = kData.data()}), counted("f1 07", 10));
        EXPECT_EQ(frameOf("xcpUserCommand", {.b0 = 62, .b1 = 7, .data = kData.data()}), counted("f1 07", 62));
        EXPECT_EQ(frameOf("xcpUserCommand", {.b0 = 63, .b1 = 7, .data = kData.data()}), counted("f1 07", 62));
        EXPECT_EQ(frameOf("xcpTransportLayerCommand", {.b0 = 255, .b1 = 7, .data = kData.data()}),
                  counted("f2 07", 62));
    }
}

TEST_F(FrameForms, UnlockSendsAsManyKeyBytesAsFitAndKeepsTheWholeLength) {
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 10, .data = kData.data()}), "f7 0a 01 02 03 04 05 06");
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 6, .data = kData.data()}), "f7 06 01 02 03 04 05 06");
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 0, .data = kData.data()}), "f7 00");
    has(64, 1);
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 10, .data = kData.data()}), counted("f7 0a", 10));
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 255, .data = kData.data()}), counted("f7 ff", 62));
    has(255, 1);
    EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 255, .data = kData.data()}), counted("f7 ff", 62));
    for (const std::uint8_t maxCto : support::bytes("00 01 02")) {
        has(maxCto, 1);
        EXPECT_EQ(frameOf("xcpUnlock", {.b0 = 10, .data = kData.data()}), "f7 0a");
    }
}

TEST_F(FrameForms, ShortDownloadCutsItsCountToWhatFits) {
    Args args{.b0 = 4, .b1 = 2, .l0 = 0x12345678, .data = kData.data()};
    EXPECT_EQ(frameOf("xcpShortDownload", args), "ed 00 00 02 78 56 34 12");
    has(9, 1);
    EXPECT_EQ(frameOf("xcpShortDownload", args), "ed 01 00 02 78 56 34 12 01");
    has(64, 1);
    EXPECT_EQ(frameOf("xcpShortDownload", args), "ed 04 00 02 78 56 34 12 01 02 03 04");
    args.b0 = 56;
    EXPECT_EQ(frameOf("xcpShortDownload", args), counted("ed 38 00 02 78 56 34 12", 56));
    args.b0 = 255;
    EXPECT_EQ(frameOf("xcpShortDownload", args), counted("ed 38 00 02 78 56 34 12", 56));
    has(255, 4);
    EXPECT_EQ(frameOf("xcpShortDownload", args), counted("ed 38 00 02 78 56 34 12", 56));
    has(0, 1);
    EXPECT_EQ(frameOf("xcpShortDownload", args), "ed 00 00 02 78 56 34 12");
}

TEST_F(FrameForms, ShortDownloadSwapsItsAddressAndNotItsData) {
    proto.byteOrder = 1;
    startsAnew();
    has(64, 1);
    EXPECT_EQ(frameOf("xcpShortDownload", {.b0 = 4, .b1 = 2, .l0 = 0x12345678, .data = kData.data()}),
              "ed 04 00 02 12 34 56 78 01 02 03 04");
}

TEST_F(FrameForms, ShortUploadCutsItsCountToWhatAFrameCarries) {
    has(64, 1);
    EXPECT_EQ(frameOf("xcpShortUpload", {.b0 = 62}), "f4 3e 00 00 00 00 00 00");
    EXPECT_EQ(frameOf("xcpShortUpload", {.b0 = 255}), "f4 3f 00 00 00 00 00 00");
    has(8, 4);
    EXPECT_EQ(frameOf("xcpShortUpload", {.b0 = 255}), "f4 07 00 00 00 00 00 00");
    has(1, 1);
    EXPECT_EQ(frameOf("xcpShortUpload", {.b0 = 255}), "f4 00 00 00 00 00 00 00");
    has(0, 1);
    EXPECT_EQ(frameOf("xcpShortUpload", {.b0 = 255}), "f4 00 00 00 00 00 00 00");
}

namespace {

/// Entry i: bit offset i, size 0x10 + i, extension 0x20 + i, address 0x11223300 + i.
const std::vector<XcpDaqEntry>& entries() {
    static const std::vector<XcpDaqEntry> made = [] {
        std::vector<XcpDaqEntry> list(255);
        for (std::uint8_t i = 0; i < 255; ++i) {
            list[i] = {i, static_cast<std::uint8_t>(0x10 + i), static_cast<std::uint8_t>(0x20 + i),
                       0x11223300U + i};
        }
        return list;
    }();
    return made;
}

}  // namespace

TEST_F(FrameForms, WriteDaqMultipleHasNoRoomForAnEntryInEightBytes) {
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}), "c7 02");
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 255, .entries = entries().data()}), "c7 ff");
}

TEST_F(FrameForms, WriteDaqMultipleHasEightBytesPerEntry) {
    has(64, 1);
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}),
              "c7 02 00 10 00 33 22 11 20 00 01 11 01 33 22 11 21 00");
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 0, .entries = entries().data()}), "c7 00");
}

TEST_F(FrameForms, WriteDaqMultipleSwapsItsAddresses) {
    proto.byteOrder = 1;
    startsAnew();
    has(64, 1);
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}),
              "c7 02 00 10 11 22 33 00 20 00 01 11 11 22 33 01 21 00");
}

TEST_F(FrameForms, WriteDaqMultipleSendsSevenEntriesAtMostAndKeepsTheCount) {
    const std::string seven =
        "00 10 00 33 22 11 20 00 01 11 01 33 22 11 21 00 02 12 02 33 22 11 22 00 03 13 03 33 22 11 23 00 "
        "04 14 04 33 22 11 24 00 05 15 05 33 22 11 25 00 06 16 06 33 22 11 26 00";
    for (const std::uint8_t maxCto : support::bytes("40 ff")) {
        has(maxCto, 1);
        EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 7, .entries = entries().data()}),
                  "c7 07 " + seven);
        EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 8, .entries = entries().data()}),
                  "c7 08 " + seven);
        EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 255, .entries = entries().data()}),
                  "c7 ff " + seven);
    }
}

// An entry counts as fitting without its last byte, which is a zero.
TEST_F(FrameForms, WriteDaqMultipleTakesAnEntryWhoseLastByteIsBehindMaxCto) {
    has(9, 1);
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}),
              "c7 02 00 10 00 33 22 11 20 00");
    has(16, 1);
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}),
              "c7 02 00 10 00 33 22 11 20 00");
    has(17, 1);
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}),
              "c7 02 00 10 00 33 22 11 20 00 01 11 01 33 22 11 21 00");
    has(0, 1);
    EXPECT_EQ(frameOf("xcpWriteDaqListEntries", {.b0 = 2, .entries = entries().data()}), "c7 02");
}
