#include "TalvexSDK.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <set>
#include <string>

namespace {

struct TextRow {
    std::int32_t code;
    const char* text;
};

constexpr TextRow kTexts[] = {
    {0, "操作成功"},
    {1, "不支持的执行指令 - NoTaskCmd"},
    {2, "找不到操作的ECU"},
    {3, "指令发收失败 - Connect"},
    {4, "指令接受超时 - RecvTimeout"},
    {5, "协议版本不匹配 - VersionMismatch"},
    {6, "指令发收失败 - ExchangeID"},
    {7, "指令发收失败 - Disconnect"},
    {8, "指令发收失败 - SeedKey"},
    {9, "安全算法路径为空 - SeedKeyPathNull"},
    {10, "安全算法库加载失败 - SeedKeyGenerator"},
    {11, "指令发收失败 - SeedUnlock"},
    {12, "指令发收失败 - GetSeed"},
    {13, "指令发收失败 - Unlock"},
    {14, "指令发收失败 - Validation"},
    {15, "指令发收失败 - StartStopSynch"},
    {16, "指令发收失败 - GetDAQProcessInfo"},
    {17, "指令发收失败 - GetDAQResolutionInfo"},
    {18, "校验变量地址失败 - CheckMeasureVar"},
    {19, "上传读取数据失败 - ReadData"},
    {20, "指令发收失败 - Calibration"},
    {21, "指令发收失败 - CalibrationFailed"},
    {22, "指令发收失败 - GetCalPage"},
    {23, "指令发收失败 - SetCalPage"},
    {24, "指令发收失败 - SelectCalPage"},
    {25, "指令发收失败 - GetActiveCalPage"},
    {26, "文件读取失败 - MemFileEmpty"},
    {27, "文件保存失败 - MemFileSave"},
    {28, "文件内存解析失败 - MemFileParse"},
    {29, "文件内存对比失败 - MemFileMerge"},
    {30, "内存擦除失败 - Erase"},
    {31, "内存上传失败 - Upload"},
    {32, "内存下载失败 - Download"},
    {33, "内存校验失败 - CheckMemory"},
    {34, "内存上传为空 - UploadEmpty"},
    {35, "内存下载内存块失败 - DownloadMemBlock"},
    {36, "内存清除内存失败 - ClearMemory"},
    {37, "指令发送失败 - SetMTA"},
    {38, "指令发送失败 - ShortUpload"},
    {39, "指令发送失败 - UploadCmd"},
    {40, "指令发送失败 - UploadXcp"},
    {41, "指令发送失败 - Dnload"},
    {42, "指令发送失败 - GetDaqProcInfo"},
    {43, "指令发送失败 - GetDaqResInfo"},
    {44, "指令发送失败 - GetDaqEventInfo"},
    {45, "指令发送失败 - GetDaqListInfo"},
    {46, "指令发送失败 - GetDaqListMode"},
    {47, "指令发送失败 - StartStopDaqList"},
    {48, "指令发送失败 - SetDaqListMode"},
    {49, "指令发送失败 - WriteDaqListEntry"},
    {50, "指令发送失败 - WriteDaqListEntries"},
    {51, "指令发送失败 - SetDaqPtr"},
    {52, "指令发送失败 - GetDaqSize"},
    {53, "指令发送失败 - Synchronize"},
    {54, "指令发送失败 - GetCommModeInfo"},
    {55, "指令发送失败 - GetStatus"},
    {56, "指令发送失败 - SetStatus"},
    {57, "指令发送失败 - GetCcpVersion"},
    {58, "指令发送失败 - GetEventInfo2"},
    {59, "指令发送失败 - ProgramStart"},
    {60, "指令发送失败 - ProgramClear"},
    {61, "指令发送失败 - Program"},
    {62, "指令发送失败 - ProgramNext"},
    {63, "指令发送失败 - ProgramMax"},
    {64, "指令发送失败 - ProgramReset"},
    {65, "指令发送失败 - ProgramVerify"},
    {66, "指令发送失败 - ProgramPrepare"},
    {67, "指令发送失败 - ProgramFormat"},
    {68, "指令发送失败 - StartStop"},
    {69, "指令发送失败 - StartStopAll"},
    {70, "指令发送失败 - BuildChecksum"},
    {71, "内存校值失败，内存文件和ECU不匹配 - ChecksumMisMatch"},
    {72, "不支持的协议指令 - NoOptCmd"},
    {73, "其他指令发送失败 - Other"},
};

constexpr const char* kUnknown = "未知错误";

TEST(ResultTexts, EveryCodeHasItsText) {
    for (const TextRow& row : kTexts) {
        EXPECT_EQ(getErrorString(row.code), row.text) << "code " << row.code;
    }
}

TEST(ResultTexts, CodesRunFromZeroTo73WithoutAGap) {
    std::set<std::int32_t> codes;
    std::set<std::string> texts;
    for (const TextRow& row : kTexts) {
        codes.insert(row.code);
        texts.insert(row.text);
    }
    EXPECT_EQ(codes.size(), 74U);
    EXPECT_EQ(*codes.begin(), 0);
    EXPECT_EQ(*codes.rbegin(), 73);
    EXPECT_EQ(texts.size(), 74U);
}

TEST(ResultTexts, SuccessIsTheTextOfZero) {
    EXPECT_EQ(getErrorString(0), "操作成功");
}

TEST(ResultTexts, TheLastTextIsThatOf73AndBehindItEverythingIsUnknown) {
    EXPECT_EQ(getErrorString(73), "其他指令发送失败 - Other");
    for (const std::int32_t code : {74, 75, 255, 256, 2304, std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(getErrorString(code), kUnknown) << "code " << code;
    }
}

TEST(ResultTexts, NegativeCodesAreUnknown) {
    for (const std::int32_t code : {-1, -73, -256, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(getErrorString(code), kUnknown) << "code " << code;
    }
}

TEST(ResultTexts, Code71HoldsAChineseCommaAndHas67Bytes) {
    const std::string text = getErrorString(71);
    EXPECT_EQ(text.size(), 67U);
    EXPECT_NE(text.find("\xEF\xBC\x8C"), std::string::npos);
}

TEST(ResultTexts, TextsAreUtf8) {
    EXPECT_EQ(getErrorString(0), "\xE6\x93\x8D\xE4\xBD\x9C\xE6\x88\x90\xE5\x8A\x9F");
    EXPECT_EQ(getErrorString(-1), "\xE6\x9C\xAA\xE7\x9F\xA5\xE9\x94\x99\xE8\xAF\xAF");
}

TEST(ResultTexts, ExchangedAndSentDifferInOneCharacter) {
    EXPECT_EQ(getErrorString(15).substr(0, 18),
              "\xE6\x8C\x87\xE4\xBB\xA4\xE5\x8F\x91\xE6\x94\xB6\xE5\xA4\xB1\xE8\xB4\xA5");
    EXPECT_EQ(getErrorString(37).substr(0, 18),
              "\xE6\x8C\x87\xE4\xBB\xA4\xE5\x8F\x91\xE9\x80\x81\xE5\xA4\xB1\xE8\xB4\xA5");
}

}  // namespace
