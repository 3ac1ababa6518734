// Row P14: each exported analyser over every frame that has fields, in both byte orders, against making the
// same labels and texts as strings where they are known already.

#include "TalvexAnalyse.h"
#include "bench/Harness.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace talvex_interface;

using Fields = std::vector<mcDecodeField>;

/// An analyser of any direction; @p code is the command, the command answered, or the event.
using Analyse = Fields (*)(std::uint8_t code, const msgBuf& msg, bool swapBytes);

constexpr std::size_t kRoundsPerBlock = 100;
constexpr unsigned kCodes = 256;

/// A frame and what its analyser makes of it.
struct Work {
    msgBuf frame;
    std::uint8_t code = 0;
    bool swapBytes = false;
    Fields fields;
};

/// @p codeAt  position of the code in the frame; negative if it is not in there
msgBuf frameOf(unsigned code, int codeAt) {
    msgBuf msg;
    msg.length = 8;
    for (std::size_t i = 0; i < msg.length; ++i) {
        msg.data[i] = static_cast<std::uint8_t>(0x10 + i);
    }
    msg.data[0] = 0xFF;
    msg.data[2] = 4;  // the count of bytes in a command of CCP, its counter in a response
    msg.data[3] = 4;  // the count in a response
    if (codeAt >= 0) {
        msg.data[static_cast<std::size_t>(codeAt)] = static_cast<std::uint8_t>(code);
    }
    return msg;
}

std::vector<Work> everyFrameWithFields(Analyse analyse, int codeAt) {
    std::vector<Work> all;
    for (unsigned code = 0; code < kCodes; ++code) {
        for (const bool swapBytes : {false, true}) {
            Work work{frameOf(code, codeAt), static_cast<std::uint8_t>(code), swapBytes, {}};
            work.fields = analyse(work.code, work.frame, swapBytes);
            if (!work.fields.empty()) {
                all.push_back(std::move(work));
            }
        }
    }
    return all;
}

Fields built(const Fields& known) {
    Fields fields;
    fields.reserve(known.size());
    for (const mcDecodeField& field : known) {
        mcDecodeField& made = fields.emplace_back();
        made.label = std::string_view(field.label);
        made.text = std::string_view(field.text);
        made.value = field.value;
        made.mark = field.mark;
    }
    return fields;
}

template <class Once>
bench::Block blockOver(const std::vector<Work>& all, Once once) {
    return bench::wallBlock(kRoundsPerBlock, [&all, once] {
        for (const Work& work : all) {
            benchmark::DoNotOptimize(once(work));
        }
    });
}

bench::Figure analysed(Analyse analyse, int codeAt, std::size_t frames) {
    const std::vector<Work> all = everyFrameWithFields(analyse, codeAt);
    if (all.size() != 2 * frames) {
        return bench::failed(std::to_string(all.size() / 2) + " frames have fields");
    }
    const auto subject = [analyse](const Work& work) {
        return analyse(work.code, work.frame, work.swapBytes);
    };
    const auto baseline = [](const Work& work) { return built(work.fields); };
    return bench::compareInterleaved(blockOver(all, subject), blockOver(all, baseline));
}

bench::Figure named() {
    std::vector<std::string> names;
    for (unsigned code = 0; code < kCodes; ++code) {
        names.push_back(getCommandName(static_cast<std::uint8_t>(code), 0, false));
    }
    const auto subject = [] {
        for (unsigned code = 0; code < kCodes; ++code) {
            benchmark::DoNotOptimize(getCommandName(static_cast<std::uint8_t>(code), 0, false));
        }
    };
    const auto baseline = [&] {
        for (const std::string& name : names) {
            benchmark::DoNotOptimize(std::string(std::string_view(name)));
        }
    };
    return bench::compareInterleaved(bench::wallBlock(kRoundsPerBlock, subject),
                                     bench::wallBlock(kRoundsPerBlock, baseline));
}

constexpr const char* kStrings = "the same labels and texts as strings";

bench::Row rowOf(const char* subject, Analyse analyse, int codeAt, std::size_t frames) {
    return {"P14", subject, kStrings, "ns", bench::atMost(2.0), [analyse, codeAt, frames] {
                return analysed(analyse, codeAt, frames);
            }};
}

[[maybe_unused]] const bool kAdded[] = {
    bench::addRow(rowOf(
        "ccpSendMsgAnalyse, every command",
        [](std::uint8_t, const msgBuf& msg, bool swap) { return ccpSendMsgAnalyse(msg, swap); }, 0, 25)),
    bench::addRow(rowOf("ccpRecvMsgAnalyse, every response", ccpRecvMsgAnalyse, -1, 16)),
    bench::addRow(rowOf(
        "xcpSendMsgAnalyse, every command",
        [](std::uint8_t, const msgBuf& msg, bool swap) { return xcpSendMsgAnalyse(msg, swap); }, 0, 25)),
    bench::addRow(rowOf("xcpRecvMsgAnalyse, every response", xcpRecvMsgAnalyse, -1, 15)),
    bench::addRow(rowOf(
        "xcpEventMsgAnalyse, every event",
        [](std::uint8_t, const msgBuf& msg, bool swap) { return xcpEventMsgAnalyse(msg, swap); }, 1, 4)),
    bench::addRow(
        {"P14", "getCommandName, every code", "the same names as strings", "ns", bench::atMost(2.0), named}),
};

}  // namespace
