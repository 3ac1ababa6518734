// The channel header in a translation unit of C11.
#include "tests/channel/ChannelFromC.h"

#include "tests/channel/ChannelTestSupport.h"

using namespace channel_test;

TEST(ChannelFromC, RunsASession) {
    support::TestHost host;
    support::TestHost::install();
    support::ScriptedEcu ecu(host, {3, 0x100, 0x101});
    ecu.answers("f5 07", {"ff 01 02 03 04 05 06 07"});
    std::array<std::uint8_t, 8> data{};
    std::array<char, 128> text{};
    EXPECT_EQ(sessionFromC(data.data(), text.data()), 0);
    EXPECT_EQ(support::hexText(data.data(), data.size()), "ff 01 02 03 04 05 06 07");
    EXPECT_STREQ(text.data(), "Success");
    EXPECT_EQ(ecu.sentFrames(), Texts({"ff 00", "f6 00 00 00 00 10 00 00", "e1 ff 04 00 78 56 34 12",
                                       "e0 10 01 00 02 00 01 00", "f5 07", "fe"}));
}
