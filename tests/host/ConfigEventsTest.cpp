// Event channels whose numbers do not fit where they go.
#include "tests/host/ConfigTesting.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using ::testing::EndsWith;

// One ECU with so many event channels, named "e0" and so on.
std::string withEvents(int count, const std::string& rest) {
    std::string content =
        "schema = 1\n[[bus]]\nname = \"b\"\nchannel = 0\nnominal_rate = 500_000\n"
        "[[ecu]]\nname = \"e\"\nbus = \"b\"\ncommand_id = 1\nresponse_id = 2\nbyte_order = \"big\"\nevent = "
        "[\n";
    for (int i = 0; i < count; ++i) {
        content += "{ name = \"e" + std::to_string(i) + "\", cycle = 1, unit = \"ms\" },\n";
    }
    return content + "]\n" + rest;
}

std::string complaint(const std::string& content) {
    try {
        static_cast<void>(host_test::load(content));
    } catch (const host::ConfigError& error) {
        return error.what();
    }
    return "none";
}

TEST(ConfigEvents, ListOfACcpEcuCanBePutOnTheLastOf256) {
    const std::string lists =
        "protocol = \"ccp\"\ndaq.list = [{ odts = 1, first_pid = 0, events = [\"e255\"] }]\n";
    const host::Config config = host_test::load(withEvents(256, lists));
    EXPECT_THAT(config.ecus[0].daq.lists[0].events, ::testing::ElementsAre(255));
    // The number of the 257th would be 0 again, which is another channel.
    EXPECT_THAT(complaint(withEvents(257, lists)),
                EndsWith(":12: ecu.event: found 257 of them; allowed are up to 256"));
}

TEST(ConfigEvents, ListOfAnXcpEcuCanBePredefinedForTheFirst255) {
    const host::Config config = host_test::load(withEvents(300, "daq.list = [{ fixed_event = \"e254\" }]\n"));
    EXPECT_EQ(config.ecus[0].daq.lists[0].fixedEvent, 254);
    EXPECT_THAT(
        complaint(withEvents(300, "daq.list = [{ fixed_event = \"e255\" }]\n")),
        EndsWith("ecu.daq.list.fixed_event: found event channel 255; allowed are 0 to 254, by their names"));
}

}  // namespace
