// The numbers of a log written by hand, each counted and computed by hand.

#include "host/DecodePrint.h"
#include "host/DecodeStats.h"
#include "tests/host/DecodeTesting.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace {

using host::CommandTally;
using host::DecodeStats;
using host_test::decoderOf;
using host_test::frameAt;
using ::testing::ElementsAre;

using Log = std::vector<std::pair<std::int64_t, std::string>>;
using Names = std::vector<std::pair<std::string, std::string>>;

DecodeStats statsOf(const std::vector<std::string>& pairs, const Log& log) {
    host::FrameDecoder decoder = decoderOf(pairs);
    DecodeStats stats;
    for (const auto& [time, text] : log) {
        const host::LoggedFrame frame = frameAt(time, text);
        if (const auto decoded = decoder.decode(frame)) {
            stats.take(frame, *decoded, decoder.pairs()[decoded->pair]);
        }
    }
    return stats;
}

// Two answers after 300 and 500 us, a repeat without answer, a refusal, a block, measured data, an event, an
// answer too many.
const Log kXcpLog{
    {1'000, "600#FF00"},
    {1'300, "601#FF05800808000101"},
    {2'000, "600#F4040000000000"},
    {2'500, "601#FF01020304"},
    {3'000, "600#F4040000000000"},
    {203'000, "600#F4040000000000"},
    {203'200, "601#FF01020304"},
    {204'000, "600#F80001"},
    {204'900, "601#FE25"},
    {205'000, "600#F80001"},
    {205'100, "601#FE25"},
    {205'200, "600#F80004"},
    {205'300, "601#FE10"},
    {206'000, "600#F00C010203040506"},
    {206'300, "600#EF06070809101112"},
    {206'400, "601#FF"},
    {207'000, "601#000102"},
    {207'100, "601#010102"},
    {207'200, "601#FD06"},
    {207'300, "601#FF"},
    {208'000, "777#00"},
    {209'000, "600#FE"},
};

TEST(DecodeStats, CountEveryCommandOnceAsAnsweredRefusedUnansweredOrContinued) {
    const DecodeStats stats = statsOf({"xcp 600:601"}, kXcpLog);
    ASSERT_EQ(stats.stations().size(), 1U);
    std::vector<std::string> counts;
    for (const CommandTally& command : stats.stations().front().commands) {
        counts.push_back(command.name + ' ' + std::to_string(command.sent) + ' ' +
                         std::to_string(command.answers) + ' ' + std::to_string(command.errors) + ' ' +
                         std::to_string(command.unanswered()) + ' ' + std::to_string(command.inBlocks));
    }
    EXPECT_THAT(counts, ElementsAre("CONNECT 1 1 0 0 0", "SHORT_UPLOAD 3 2 0 1 0", "GET_SEED 3 0 3 0 0",
                                    "DOWNLOAD 1 0 0 0 1", "DOWNLOAD_NEXT 1 1 0 0 0", "DISCONNECT 1 0 0 1 0"));
    EXPECT_THAT(stats.stations().front().others,
                ElementsAre(std::pair("DAQ", 2U), std::pair("Event EV_DAQ_OVERLOAD", 1U),
                            std::pair("RES (no command)", 1U)));
}

TEST(DecodeStats, TableHoldsTimesAndErrorCodes) {
    EXPECT_THAT(host::statsLines(statsOf({"xcp 600:601"}, kXcpLog)),
                ElementsAre("can0 xcp 600:601 little endian",
                            "  command                         sent  answers  errors  unanswered  in blocks  "
                            "   min ms   median      max",
                            "  CONNECT                            1        1       0           0          0  "
                            "    0.300    0.300    0.300",
                            "  SHORT_UPLOAD                       3        2       0           1          0  "
                            "    0.200    0.350    0.500",
                            "  GET_SEED                           3        0       3           0          0  "
                            "    0.100    0.100    0.900",
                            "  DOWNLOAD                           1        0       0           0          1  "
                            "        -        -        -",
                            "  DOWNLOAD_NEXT                      1        1       0           0          0  "
                            "    0.100    0.100    0.100",
                            "  DISCONNECT                         1        0       0           1          0  "
                            "        -        -        -",
                            "  all                               10        4       3           2          1  "
                            "    0.100    0.200    0.900",
                            "  1 x error 0x10 of GET_SEED: Command was not executed",
                            "  2 x error 0x25 of GET_SEED: Access denied, Seed& Key is required", "  2 x DAQ",
                            "  1 x Event EV_DAQ_OVERLOAD", "  1 x RES (no command)"));
}

TEST(DecodeStats, SynchIsAnsweredByAnErrorFrameThatCountsAsAnswer) {
    const DecodeStats stats = statsOf({"xcp 600:601"}, {{0, "600#FC"}, {10, "601#FE00"}});
    EXPECT_EQ(stats.stations().front().commands.front().answers, 1U);
    EXPECT_EQ(stats.stations().front().commands.front().errors, 0U);
}

TEST(DecodeStats, PartsOfAnUploadAreOneAnswer) {
    const DecodeStats stats =
        statsOf({"xcp 600:601"}, {{0, "600#F50A"}, {200, "601#FF11223344556677"}, {400, "601#FF112233"}});
    const CommandTally& upload = stats.stations().front().commands.front();
    EXPECT_EQ(upload.answers, 1U);
    EXPECT_EQ(upload.unanswered(), 0U);
    EXPECT_THAT(upload.timesUs, ElementsAre(200));
}

TEST(DecodeStats, CcpAnswersAreMatchedByTheirCounter) {
    const DecodeStats stats = statsOf({"ccp 700:701"}, {{0, "700#0D01"},
                                                        {100'000, "700#0D02"},
                                                        {100'300, "701#FF0001"},
                                                        {100'400, "701#FF3302"},
                                                        {100'500, "701#FF0003"}});
    const CommandTally& status = stats.stations().front().commands.front();
    EXPECT_EQ(status.name, "GET_S_STATUS");
    EXPECT_EQ(status.sent, 2U);
    EXPECT_EQ(status.answers, 1U);
    EXPECT_EQ(status.errors, 1U);
    EXPECT_THAT(status.timesUs, ElementsAre(100'300, 400));
    EXPECT_THAT(stats.stations().front().others, ElementsAre(std::pair("RES (no command)", 1U)));
}

TEST(DecodeStats, TimesThatGoBackAreNotCounted) {
    const DecodeStats stats = statsOf({"xcp 600:601"}, {{500, "600#FD"}, {400, "601#FF"}});
    EXPECT_EQ(stats.stations().front().commands.front().answers, 1U);
    EXPECT_FALSE(stats.stations().front().commands.front().times());
}

TEST(DecodeStats, StationIsAPairOnAnInterfaceInTheOrderOfTheLog) {
    DecodeStats stats;
    host::FrameDecoder decoder = decoderOf({"xcp 600:601", "ccp 700:701"});
    for (const auto& [interface, text] :
         Names{{"can1", "700#0127"}, {"can0", "600#FF00"}, {"can1", "600#FF00"}, {"can1", "700#0128"}}) {
        host::LoggedFrame frame = frameAt(0, text);
        frame.interface = interface;
        stats.take(frame, *decoder.decode(frame), decoder.pairs()[frame.id == 0x600 ? 0 : 1]);
    }
    std::vector<std::string> stations;
    for (const host::StationTally& station : stats.stations()) {
        stations.push_back(station.interface + " " + host::idText(station.pair.commandId, false) + " " +
                           std::to_string(station.commands.front().sent));
    }
    EXPECT_THAT(stations, ElementsAre("can1 700 2", "can0 600 1", "can1 600 1"));
}

// A log can name an interface of its own in each line, and used to take minutes for that.
TEST(DecodeStats, InterfacesMayBeAsManyAsThereAreLines) {
    DecodeStats stats;
    const host::FrameDecoder decoder = decoderOf({"xcp 600:601"});
    host::LoggedFrame frame = frameAt(0, "600#FF00");
    host::DecodedFrame decoded;
    decoded.command = "CONNECT";
    for (int i = 0; i < 200'000; ++i) {
        frame.interface = std::to_string(i);
        stats.take(frame, decoded, decoder.pairs()[0]);
    }
    ASSERT_EQ(stats.stations().size(), 200'000U);
    EXPECT_EQ(stats.stations().back().interface, "199999");
    EXPECT_EQ(stats.stations().back().commands.front().sent, 1U);
}

TEST(ResponseTimes, HaveTheMiddleOfAnOddAndTheMeanOfAnEvenCountAsMedian) {
    CommandTally tally;
    tally.timesUs = {9000, 1000, 2000};
    EXPECT_EQ(tally.times()->median, 2.0);
    tally.timesUs = {8000, 1000, 4000, 2000};
    EXPECT_EQ(tally.times()->median, 3.0);
    EXPECT_EQ(tally.times()->least, 1.0);
    EXPECT_EQ(tally.times()->most, 8.0);
}

TEST(DecodeStats, JsonHasALineForEachCommandErrorCodeAndOtherTitle) {
    const std::vector<std::string> lines = host::statsJson(statsOf({"xcp 600:601"}, kXcpLog));
    ASSERT_EQ(lines.size(), 6U + 2U + 3U);
    const std::string station = R"("schema": 1, "interface": "can0", "protocol": "xcp", "command_id": "600",
                                   "response_id": "601", )";
    const auto expected = [&](const std::string& rest) {
        return nlohmann::json::parse("{" + station + rest);
    };
    EXPECT_EQ(nlohmann::json::parse(lines[1]),
              expected(R"("type": "command", "command": "SHORT_UPLOAD", "sent": 3, "answers": 2, "errors": 0,
                          "unanswered": 1, "in_blocks": 0, "min_ms": 0.2, "median_ms": 0.35, "max_ms": 0.5})"));
    EXPECT_EQ(nlohmann::json::parse(lines[5])["median_ms"], nullptr);
    EXPECT_EQ(
        nlohmann::json::parse(lines[6]),
        expected(
            R"("type": "error_code", "command": "GET_SEED", "code": 16, "text": "Command was not executed",
                          "count": 1})"));
    EXPECT_EQ(nlohmann::json::parse(lines[8]), expected(R"("type": "other", "title": "DAQ", "count": 2})"));
}

}  // namespace
