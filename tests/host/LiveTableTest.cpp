// The table of a running measurement on terminals of all widths.

#include "host/LiveTable.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using host::liveLines;
using host::LiveRow;
using ::testing::ElementsAre;

const LiveRow kSpeed{"engine_speed", "2400", "rpm", "1000.0", "1500", "3300", "0.1 s"};
const LiveRow kLong{"chassis.wheel_speed_front_left", "16.5", "m/s", "1000.0", "12.25", "20.75", "0.1 s"};

TEST(LiveTable, EightyColumnsShowEverything) {
    EXPECT_THAT(liveLines({kSpeed}, 80),
                ElementsAre("variable            value unit     per s    minimum    maximum     age",
                            "engine_speed         2400 rpm     1000.0       1500       3300   0.1 s"));
}

TEST(LiveTable, FortyColumnsKeepNameValueAndUnit) {
    EXPECT_THAT(liveLines({kSpeed}, 40), ElementsAre("variable            value unit     per s",
                                                     "engine_speed         2400 rpm     1000.0"));
    EXPECT_THAT(liveLines({kLong}, 40), ElementsAre("variable                    value unit",
                                                    "chassis.wheel_speed…         16.5 m/s"));
}

TEST(LiveTable, TwentyFiveColumnsKeepNameAndValue) {
    EXPECT_THAT(liveLines({kSpeed}, 25),
                ElementsAre("variable            value", "engine_speed         2400"));
}

TEST(LiveTable, NoLineIsWiderThanTheTerminal) {
    for (std::size_t width = 1; width <= 120; ++width) {
        for (const std::string& line : liveLines({kSpeed, kLong}, width)) {
            const auto characters = std::count_if(line.begin(), line.end(), [](char byte) {
                return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
            });
            EXPECT_LE(static_cast<std::size_t>(characters), width) << line;
        }
    }
}

TEST(LiveTable, LongUnitIsCut) {
    LiveRow row = kSpeed;
    row[2] = "kilopascal";
    EXPECT_THAT(liveLines({row}, 40)[1], ::testing::HasSubstr(" kilop… "));
}

TEST(LiveTable, StreamThatIsNoTerminalCountsAsTheUsualOne) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const host::TerminalSize size = host::terminalSize(file);
    std::fclose(file);
    EXPECT_EQ(size.width, 80U);
    EXPECT_EQ(size.height, 24U);
}

std::string drawn(std::size_t rows) {
    std::FILE* file = std::tmpfile();
    host::LiveTable table(file);
    table.draw("status", std::vector<LiveRow>(rows, kSpeed));
    table.draw("status", {kSpeed});
    std::rewind(file);
    std::string text(20000, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

TEST(LiveTable, SecondDrawingTakesThePlaceOfTheFirst) {
    EXPECT_THAT(drawn(2), ::testing::HasSubstr("0.1 s\033[K\n\033[J\033[4A\rstatus\033[K\n"));
}

TEST(LiveTable, RowsBeyondTheHeightAreCounted) {
    EXPECT_THAT(drawn(30), ::testing::HasSubstr("and 10 more\033[K\n\033[J\033[23A\r"));
}

}  // namespace
