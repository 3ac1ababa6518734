// What names a bus.

#include "host/BusUrl.h"

#include "host/HostError.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

using host::BusKind;
using host::parseBusUrl;

struct BadUrl {
    const char* url;
    const char* reason;
};

void PrintTo(const BadUrl& row, std::ostream* stream) {
    *stream << row.url;
}

class BusUrlError : public ::testing::TestWithParam<BadUrl> {};

TEST(BusUrl, SimIsTheSimulation) {
    EXPECT_EQ(parseBusUrl("sim:").kind, BusKind::simulated);
}

TEST(BusUrl, SocketcanNamesAnInterface) {
    const host::BusUrl url = parseBusUrl("socketcan:vcan0");
    EXPECT_EQ(url.kind, BusKind::socketCan);
    EXPECT_EQ(url.name, "vcan0");
}

TEST(BusUrl, SocketcandNamesServerPortAndBus) {
    const host::BusUrl url = parseBusUrl("socketcand://bench.lan:1234/can7");
    EXPECT_EQ(url.kind, BusKind::socketcand);
    EXPECT_EQ(url.server.host, "bench.lan");
    EXPECT_EQ(url.server.port, 1234);
    EXPECT_EQ(url.name, "can7");
}

TEST(BusUrl, SocketcandHasAPortOfItsOwn) {
    EXPECT_EQ(parseBusUrl("socketcand://bench/can0").server.port, 29536);
}

TEST(BusUrl, AddressOfIpV6StandsInBrackets) {
    const host::BusUrl url = parseBusUrl("socketcand://[::1]:5000/can0");
    EXPECT_EQ(url.server.host, "::1");
    EXPECT_EQ(url.server.port, 5000);
    EXPECT_EQ(url.server.text(), "[::1]:5000");
    EXPECT_EQ(parseBusUrl("socketcand://[fe80::2]/can0").server.port, 29536);
}

TEST_P(BusUrlError, SaysWhatIsAllowed) {
    try {
        static_cast<void>(parseBusUrl(GetParam().url));
        ADD_FAILURE() << "taken";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::usage);
        EXPECT_EQ(error.what(), std::string("bus \"") + GetParam().url + "\": " + GetParam().reason +
                                    "; allowed are sim:, socketcan:INTERFACE and "
                                    "socketcand://HOST[:PORT]/BUS");
    }
}

constexpr const char* kNoKind = "there is no such kind of bus";
constexpr const char* kNoInterface = "the name of an interface has 1 to 15 characters";
constexpr const char* kNoServer = "the server is no HOST or HOST:PORT with a port of 1 to 65535";
constexpr const char* kNoBus = "the name of the bus is empty or not one plain word";

const BadUrl kBadUrls[] = {
    {"", kNoKind},
    {"can0", kNoKind},
    {"sim:x", kNoKind},
    {"socketcand:bench/can0", kNoKind},
    {"socketcan:", kNoInterface},
    {"socketcan:a b", kNoInterface},
    {"socketcan:sixteencharacter", kNoInterface},
    {"socketcand://bench", "the name of the bus is missing behind the server"},
    {"socketcand:///can0", kNoServer},
    {"socketcand://bench:0/can0", kNoServer},
    {"socketcand://bench:65536/can0", kNoServer},
    {"socketcand://bench:x/can0", kNoServer},
    {"socketcand://bench:/can0", kNoServer},
    {"socketcand://::1/can0", kNoServer},
    {"socketcand://[::1/can0", kNoServer},
    {"socketcand://[::1]5/can0", kNoServer},
    {"socketcand://bench/", kNoBus},
    {"socketcand://bench/a/b", kNoBus},
    {"socketcand://bench/a b", kNoBus},
    {"socketcand://bench/a>", kNoBus},
};

INSTANTIATE_TEST_SUITE_P(Rows, BusUrlError, ::testing::ValuesIn(kBadUrls));

}  // namespace
