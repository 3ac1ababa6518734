// Analysers while memory runs out.
#include "tests/alloc/EveryNew.h"

#include <TalvexAnalyse.h>

#include <gtest/gtest.h>

#include <functional>
#include <iostream>

namespace alloc {
namespace {

using namespace talvex_interface;
using Fields = std::vector<mcDecodeField>;

std::string show(const Fields& fields) {
    std::string text;
    for (const mcDecodeField& field : fields) {
        text += field.label + "=" + field.text + "," + std::to_string(field.value) + (field.mark ? "!" : "") +
                "\n";
    }
    return text;
}

msgBuf frame(std::uint8_t first) {
    msgBuf made;
    made.length = 64;
    made.data.fill(0xA5);
    made.data[0] = first;
    made.data[1] = 0x04;
    return made;
}

/// One analyser; `code` is the first byte of the command, or of the frame where there is no command.
struct Analyser {
    const char* name;
    Fields (*analyse)(std::uint8_t code, bool swapBytes);
};

void PrintTo(const Analyser& analyser, std::ostream* out) {
    *out << analyser.name;
}

class AnalyserWithoutMemory : public testing::TestWithParam<Analyser> {};

INSTANTIATE_TEST_SUITE_P(
    All, AnalyserWithoutMemory,
    testing::Values(
        Analyser{"CcpCommand",
                 [](std::uint8_t code, bool swap) { return ccpSendMsgAnalyse(frame(code), swap); }},
        Analyser{"CcpResponse",
                 [](std::uint8_t code, bool swap) { return ccpRecvMsgAnalyse(code, frame(0xFF), swap); }},
        Analyser{"XcpCommand",
                 [](std::uint8_t code, bool swap) { return xcpSendMsgAnalyse(frame(code), swap); }},
        Analyser{"XcpResponse",
                 [](std::uint8_t code, bool swap) { return xcpRecvMsgAnalyse(code, frame(0xFF), swap); }},
        Analyser{"XcpError",
                 [](std::uint8_t code, bool swap) { return xcpRecvMsgAnalyse(code, frame(0xFE), swap); }},
        Analyser{"XcpEvent",
                 [](std::uint8_t code, bool swap) {
                     msgBuf event = frame(0xFD);
                     event.data[1] = code;
                     return xcpEventMsgAnalyse(event, swap);
                 }}),
    [](const testing::TestParamInfo<Analyser>& tested) { return std::string(tested.param.name); });

TEST_P(AnalyserWithoutMemory, NamesTheFieldsOfEveryCodeOrThrows) {
    std::size_t all = 0;
    for (unsigned code = 0; code < 256 && !HasFailure(); ++code) {
        SCOPED_TRACE(code);
        const auto analyse = [code] {
            return GetParam().analyse(static_cast<std::uint8_t>(code), code % 2 != 0);
        };
        all += expectCleanAtEveryNew(analyse, show);
    }
    EXPECT_GT(all, 0U);
    std::cout << all << " times new\n";
}

TEST(CommandNameWithoutMemory, IsThatOfEveryCodeOrThrows) {
    for (unsigned code = 0; code < 256 && !HasFailure(); ++code) {
        SCOPED_TRACE(code);
        const auto name = [code] {
            return getCommandName(static_cast<std::uint8_t>(code), 0, code % 2 != 0);
        };
        expectCleanAtEveryNew(name, [](const std::string& text) { return text; });
    }
}

}  // namespace
}  // namespace alloc
