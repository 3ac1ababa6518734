// What the host and its helper for seed and key say to each other.

#include "host/SeedKeyWire.h"

#include <gmock/gmock.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using host::parseSeedKeyArguments;
using host::parseSeedKeyOutput;
using host::seedKeyArguments;
using host::seedKeyBytes;
using host::seedKeyHex;
using host::seedKeyMessage;
using host::seedKeyOutput;
using host::SeedKeyRequest;
using ::testing::ElementsAre;
using Arguments = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

std::string complaintOf(const Arguments& arguments) {
    try {
        static_cast<void>(parseSeedKeyArguments(arguments));
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
    return "nothing";
}

TEST(SeedKeyArguments, OfARequestForXcp) {
    SeedKeyRequest request;
    request.library = "/keys/a b.so";
    request.entry = "XCP_ComputeKeyFromSeed";
    request.privilege = 16;
    request.seed = {0x00, 0xA5, 0x1F};
    request.room = 124;
    request.limitS = 4;
    EXPECT_THAT(seedKeyArguments(request),
                ElementsAre("/keys/a b.so", "XCP_ComputeKeyFromSeed", "xcp", "16", "00a51f", "--success",
                            "zero", "--room", "124", "--limit", "4"));
}

TEST(SeedKeyArguments, OfACheckAreLibraryEntryAndLimit) {
    SeedKeyRequest request;
    request.library = "keys.so";
    request.entry = "Key";
    request.check = true;
    request.limitS = 42;
    EXPECT_THAT(seedKeyArguments(request), ElementsAre("--check", "keys.so", "Key", "--limit", "42"));
    EXPECT_EQ(parseSeedKeyArguments({"--check", "keys.so", "Key", "--limit", "42"}).limitS, 42);
    const SeedKeyRequest read = parseSeedKeyArguments({"--check", "keys.so", "Key"});
    EXPECT_EQ(read.limitS, 10);
    EXPECT_TRUE(read.check);
    EXPECT_EQ(read.library, "keys.so");
    EXPECT_EQ(read.entry, "Key");
}

TEST(SeedKeyArguments, AreReadWithEveryOption) {
    const SeedKeyRequest request = parseSeedKeyArguments(
        {"keys.so", "Key", "ccp", "255", "0aFf", "--room", "65535", "--success", "zero", "--limit", "3"});
    EXPECT_EQ(request.library, "keys.so");
    EXPECT_EQ(request.entry, "Key");
    EXPECT_FALSE(request.check);
    EXPECT_TRUE(request.ccp);
    EXPECT_EQ(request.privilege, 255);
    EXPECT_EQ(request.seed, (Bytes{0x0A, 0xFF}));
    EXPECT_TRUE(request.zeroIsSuccess);
    EXPECT_EQ(request.room, 65535);
    EXPECT_EQ(request.limitS, 3);
}

TEST(SeedKeyArguments, HaveTheDefaultsOfTheirProtocol) {
    const SeedKeyRequest xcp = parseSeedKeyArguments({"keys.so", "Key", "xcp", "0", ""});
    EXPECT_TRUE(xcp.zeroIsSuccess);
    EXPECT_EQ(xcp.seed, Bytes());
    EXPECT_EQ(xcp.room, 255);
    EXPECT_EQ(xcp.limitS, 10);
    EXPECT_FALSE(parseSeedKeyArguments({"keys.so", "Key", "ccp", "0", ""}).zeroIsSuccess);
}

TEST(SeedKeyArguments, WrongOnesAreNamedWithWhatIsAllowed) {
    EXPECT_EQ(complaintOf({}), "there are 0 arguments; --help tells what they have to be");
    EXPECT_EQ(complaintOf({"--check", "a.so"}), "there are 2 arguments; --help tells what they have to be");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "1", "00", "--room"}),
              "there are 6 arguments; --help tells what they have to be");
    EXPECT_EQ(complaintOf({"a.so", "K", "can", "1", "00"}), "the protocol is \"can\"; allowed is ccp or xcp");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "256", "00"}),
              "the privilege is \"256\"; allowed is 0 to 255");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "-1", "00"}), "the privilege is \"-1\"; allowed is 0 to 255");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "1x", "00"}), "the privilege is \"1x\"; allowed is 0 to 255");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "1", "0"}),
              "the seed is \"0\"; allowed are two hexadecimal digits per byte");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "1", std::string(512, '0')}),
              "the seed has 256 bytes; allowed are 255");
    EXPECT_EQ(complaintOf({"a.so", "K", "xcp", "1", "00", "--room", "256"}),
              "--room is \"256\"; allowed is 1 to 255");
    EXPECT_EQ(complaintOf({"a.so", "K", "ccp", "1", "00", "--room", "0"}),
              "--room is \"0\"; allowed is 1 to 65535");
    EXPECT_EQ(complaintOf({"a.so", "K", "ccp", "1", "00", "--success", "one"}),
              "--success is \"one\"; allowed is zero or nonzero");
    EXPECT_EQ(complaintOf({"a.so", "K", "ccp", "1", "00", "--limit", ""}),
              "--limit is \"\"; allowed is 1 to 65535");
    EXPECT_EQ(complaintOf({"a.so", "K", "ccp", "1", "00", "--fast", "1"}),
              "no option \"--fast\"; there are --success, --room and --limit");
}

TEST(SeedKeyDigits, AreTwoPerByteInEitherCase) {
    EXPECT_EQ(seedKeyHex({0x00, 0x9A, 0xFF}), "009aff");
    EXPECT_EQ(seedKeyBytes("009aFF"), std::optional<Bytes>({0x00, 0x9A, 0xFF}));
    EXPECT_EQ(seedKeyBytes(""), std::optional<Bytes>(Bytes()));
    for (const char* wrong : {"0", "0g", "g0", " 0", "0x12", "@1", "`1"}) {
        EXPECT_EQ(seedKeyBytes(wrong), std::nullopt) << wrong;
    }
}

TEST(SeedKeyOutput, IsOneLine) {
    EXPECT_EQ(seedKeyOutput({0x12, 0x34}), "1234\n");
    EXPECT_EQ(parseSeedKeyOutput("1234\n"), std::optional<Bytes>({0x12, 0x34}));
    for (const char* wrong : {"", "1234", "12\n34\n", "1234\n\n", "123\n"}) {
        EXPECT_EQ(parseSeedKeyOutput(wrong), std::nullopt) << wrong;
    }
}

TEST(SeedKeyMessage, IsTheHelpersLastWordAmongWhatTheLibraryPrinted) {
    EXPECT_EQ(seedKeyMessage("talvex-seedkey: a.so: no\n"), "a.so: no");
    EXPECT_EQ(seedKeyMessage("one\ntwotalvex-seedkey: a.so: no\nthree\n"), "a.so: no");
    EXPECT_EQ(seedKeyMessage("talvex-seedkey: first\ntalvex-seedkey: second"), "second");
    EXPECT_EQ(seedKeyMessage("computing\n"), "");
    EXPECT_EQ(seedKeyMessage(""), "");
}

}  // namespace
