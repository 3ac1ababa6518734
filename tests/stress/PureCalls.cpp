// The functions that need no engine, from any thread: their answers do not depend on who else calls.
#include "tests/stress/StressCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace stress {
namespace {

constexpr std::uint32_t kImageBase = 0x1000;
constexpr std::uint32_t kImageSize = 100;

std::list<mem_buf> image() {
    mem_buf block{kImageBase, std::vector<std::uint8_t>(kImageSize)};
    std::iota(block.data.begin(), block.data.end(), std::uint8_t{1});
    return {block};
}

/// @return the path of a file of the thread with the image in it
std::string savedImage(Caller& caller) {
    std::string path = caller.file() + caller.draw.oneOf({".hex", ".s19"});
    EXPECT_TRUE(SaveToHexFile(image(), path));
    return path;
}

void save(Caller& caller) {
    savedImage(caller);
}

void parse(Caller& caller) {
    const std::list<mem_buf> read = ParseMemFile(savedImage(caller));
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read.front().address, kImageBase);
    EXPECT_EQ(read.front().data, image().front().data);
}

void parseAndDelete(Caller& caller) {
    const mcMemRange range{0, 3, 0, kImageBase + 4};
    std::uint8_t* buffer = nullptr;
    std::uint32_t size = 0;
    ParseMemFileNewBuff(savedImage(caller).c_str(), &range, 1, &buffer, &size);
    ASSERT_EQ(size, 3U);
    EXPECT_EQ(std::vector<std::uint8_t>(buffer, buffer + size), std::vector<std::uint8_t>({5, 6, 7}));
    DeleteMemBuff(&buffer, 1);
    EXPECT_EQ(buffer, nullptr);
}

void merge(Caller& /*caller*/) {
    mcMemoryInfo segment;
    segment.address = kImageBase + 10;
    segment.length = 2;
    const std::list<mem_buf> cut = MergeMemByAddr(image(), {segment});
    ASSERT_EQ(cut.size(), 1U);
    EXPECT_EQ(cut.front().address, kImageBase + 10);
    EXPECT_EQ(cut.front().data, std::vector<std::uint8_t>({11, 12}));
}

/// The check values that the sums are known by.
void sum(Caller& caller) {
    const std::array<std::uint8_t, 9> digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    struct Sum {
        std::int32_t kind;
        std::uint32_t value;
    };
    const Sum sum =
        caller.draw.oneOf<Sum>({{1, 0xDD}, {2, 0x1DD}, {7, 0xBB3D}, {8, 0x29B1}, {9, 0xCBF43926}});
    EXPECT_EQ(CheckMemory(digits.data(), digits.size(), sum.kind), sum.value) << sum.kind;
}

/// Two events of one list each, and a variable that is polled.
void plan(Caller& /*caller*/) {
    EcuProtoCfg cfg;
    cfg.xcp.daqProperties = 1;
    cfg.xcp.maxDaq = 2;
    cfg.xcp.maxOdtEntrySizeDaq = 7;
    cfg.xcp.events[0].maxDaqList = cfg.xcp.events[1].maxDaqList = 1;
    std::vector<mcMeasureVariable> variables(3);
    for (std::size_t i = 0; i < variables.size(); ++i) {
        variables[i].name = std::string(1, static_cast<char>('a' + i));
        variables[i].size = 4;
        variables[i].address = static_cast<std::uint32_t>(kImageBase + 4 * i);
        variables[i].event = static_cast<std::uint16_t>(i / 2);
    }
    variables[1].period = 100;
    const DaqInfo info = getDaqInfo(cfg, variables, true);
    ASSERT_EQ(info.pollVars.size(), 1U);
    EXPECT_EQ(info.pollVars.front().name, "b");
    std::size_t planned = 0;
    for (const auto& [number, list] : info.daqLists) {
        for (const DaqOdtPlan& odt : list.odts) {
            planned += odt.size;
        }
    }
    EXPECT_EQ(planned, 8U);
}

msgBuf frame(std::uint8_t first, std::uint8_t second) {
    msgBuf made;
    made.length = 8;
    made.data[0] = first;
    made.data[1] = second;
    return made;
}

using Fields = std::vector<mcDecodeField>;

void analyse(const Fields& fields, const char* label) {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [label](const mcDecodeField& field) { return field.label == label; });
    EXPECT_NE(found, fields.end()) << label;
}

}  // namespace

std::vector<Call> pureCalls() {
    namespace talvex = talvex_interface;
    return {
        {"SaveToHexFile", Share::often, save},
        {"ParseMemFile", Share::often, parse},
        {"ParseMemFileNewBuff", Share::often, parseAndDelete},
        {"DeleteMemBuff", Share::often, [](Caller&) { DeleteMemBuff(nullptr, 1); }},
        {"MergeMemByAddr", Share::often, merge},
        {"CheckMemory", Share::often, sum},
        {"getDaqInfo", Share::often, plan},
        {"talvex_interface::ccpSendMsgAnalyse", Share::often,
         [](Caller&) { analyse(talvex::ccpSendMsgAnalyse(frame(0x01, 0), false), "Station_Address"); }},
        {"talvex_interface::ccpRecvMsgAnalyse", Share::often,
         [](Caller&) { analyse(talvex::ccpRecvMsgAnalyse(0x12, frame(0xFF, 0), false), "Seed"); }},
        {"talvex_interface::xcpSendMsgAnalyse", Share::often,
         [](Caller&) { analyse(talvex::xcpSendMsgAnalyse(frame(0xFF, 0), false), "Mode"); }},
        {"talvex_interface::xcpRecvMsgAnalyse", Share::often,
         [](Caller&) { analyse(talvex::xcpRecvMsgAnalyse(0xFD, frame(0xFE, 0x20), false), "ErrorCode"); }},
        {"talvex_interface::xcpEventMsgAnalyse", Share::often,
         [](Caller&) { analyse(talvex::xcpEventMsgAnalyse(frame(0xFD, 0x0C), false), "State_Num"); }},
        {"talvex_interface::getCommandName", Share::often,
         [](Caller&) { EXPECT_EQ(talvex::getCommandName(0x00, 0, true), "DAQ"); }},
    };
}

}  // namespace stress
