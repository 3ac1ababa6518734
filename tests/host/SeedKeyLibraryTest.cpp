// The helper by hand: the key on standard output, the reason on standard error, the status as exit code.

#include "host/BoundedProcess.h"
#include "host/SeedKeyWire.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"
#include "tests/host/SeedKeyTesting.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

namespace {

using host::ProcessEnd;
using host::ProcessOutcome;
using host::SeedKeyStatus;
using host_test::badLibrary;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Arguments = std::vector<std::string>;

ProcessOutcome helper(const Arguments& arguments) {
    return host::runBounded(host_test::kSeedKeyProgram, arguments, {std::chrono::minutes(2), 0x10000});
}

// A function of the library with faults, with a seed of 01 02 and room for 124 bytes.
ProcessOutcome faulty(const std::string& entry, Arguments more = {}) {
    Arguments arguments{badLibrary("faults"), entry, "xcp", "1", "0102", "--room", "124"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return helper(arguments);
}

// What the helper says about the library with faults, without the names of both.
std::string sentence(const ProcessOutcome& outcome) {
    const std::string head = "talvex-seedkey: " + badLibrary("faults") + ": ";
    EXPECT_THAT(outcome.error, StartsWith(head));
    EXPECT_THAT(outcome.error, EndsWith("\n"));
    return outcome.error.size() > head.size()
               ? outcome.error.substr(head.size(), outcome.error.size() - head.size() - 1)
               : "";
}

void expectKey(const ProcessOutcome& outcome, const std::string& digits) {
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    EXPECT_EQ(outcome.code, static_cast<int>(SeedKeyStatus::done));
    EXPECT_EQ(outcome.output, digits + "\n");
}

void expectStatus(const ProcessOutcome& outcome, SeedKeyStatus status) {
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    EXPECT_EQ(outcome.code, static_cast<int>(status));
    EXPECT_EQ(outcome.output, "");
}

TEST(TheSeedKeyHelper, PrintsTheKeyOfTheExampleForXcp) {
    const ProcessOutcome outcome =
        helper({host_test::kSeedKeyXcp, "XCP_ComputeKeyFromSeed", "xcp", "1", "00112233"});
    expectKey(outcome, "b4709df5");
    EXPECT_EQ(outcome.error, "");
}

TEST(TheSeedKeyHelper, HandsThePrivilegeToFunctionsForXcp) {
    expectKey(helper({host_test::kSeedKeyXcp, "XCP_ComputeKeyFromSeed", "xcp", "4", "00112233"}), "c2f1e8e8");
}

TEST(TheSeedKeyHelper, PrintsTheKeyOfTheExampleForCcpWhateverThePrivilege) {
    for (const char* privilege : {"0", "2", "64"}) {
        expectKey(
            helper({host_test::kSeedKeyCcp, "ASAP1A_CCP_ComputeKeyFromSeed", "ccp", privilege, "00112233"}),
            "be9176e6");
    }
}

TEST(TheSeedKeyHelper, GivesXcpThePrivilegeTheLengthAndTheRoomIn8Bits) {
    expectKey(helper({badLibrary("faults"), "Echo", "xcp", "16", "010203", "--room", "200"}), "1003c8");
}

TEST(TheSeedKeyHelper, GivesCcpTheLengthAndTheRoomIn16Bits) {
    const std::string seed(2 * 0x0201, '0');
    expectKey(helper({badLibrary("faults"), "CcpEcho", "ccp", "0", seed, "--room", "1000"}), "020103e8");
}

TEST(TheSeedKeyHelper, TellsWhatTheExampleForXcpRefuses) {
    const ProcessOutcome privilege =
        helper({host_test::kSeedKeyXcp, "XCP_ComputeKeyFromSeed", "xcp", "2", "00112233"});
    expectStatus(privilege, SeedKeyStatus::refused);
    EXPECT_THAT(privilege.error,
                HasSubstr("XCP_ComputeKeyFromSeed refused with 1 (privilege not available)"));
    EXPECT_THAT(helper({host_test::kSeedKeyXcp, "XCP_ComputeKeyFromSeed", "xcp", "1", ""}).error,
                HasSubstr("refused with 2 (wrong seed length)"));
    EXPECT_THAT(
        helper({host_test::kSeedKeyXcp, "XCP_ComputeKeyFromSeed", "xcp", "1", "00112233", "--room", "3"})
            .error,
        HasSubstr("refused with 3 (key buffer too small)"));
}

TEST(TheSeedKeyHelper, TellsThatTheExampleForCcpRefuses) {
    const ProcessOutcome outcome = helper(
        {host_test::kSeedKeyCcp, "ASAP1A_CCP_ComputeKeyFromSeed", "ccp", "2", "00112233", "--room", "3"});
    expectStatus(outcome, SeedKeyStatus::refused);
    EXPECT_THAT(outcome.error,
                HasSubstr("refused with 0; if its maker takes that for success, set success to zero"));
}

TEST(TheSeedKeyHelper, TakesTheResultThatItIsToldForSuccess) {
    expectStatus(faulty("OneIsSuccess"), SeedKeyStatus::refused);
    EXPECT_EQ(
        sentence(faulty("OneIsSuccess")),
        "OneIsSuccess refused with 1 (privilege not available); if its maker takes that for success, set "
        "success to nonzero");
    expectKey(faulty("OneIsSuccess", {"--success", "nonzero"}), "0201");
    expectStatus(faulty("Plain", {"--success", "nonzero"}), SeedKeyStatus::refused);
    const Arguments zeroForCcp{
        badLibrary("faults"), "CcpZeroIsSuccess", "ccp", "0", "0f", "--success", "zero"};
    expectKey(helper(zeroForCcp), "f0");
}

TEST(TheSeedKeyHelper, NamesResultsOnlyWhereTheyMeanThat) {
    EXPECT_EQ(sentence(faulty("SaysTwo")),
              "SaysTwo refused with 2 (wrong seed length); if its maker takes that for "
              "success, set success to nonzero");
}

TEST(TheSeedKeyHelper, RefusesAKeyOfNoBytes) {
    const ProcessOutcome outcome = faulty("NoBytes");
    expectStatus(outcome, SeedKeyStatus::badKey);
    EXPECT_EQ(sentence(outcome), "NoBytes gave a key of no bytes; ask its maker for the length of its seeds");
}

TEST(TheSeedKeyHelper, RefusesAKeyThatSaysItIsLongerThanItsRoom) {
    const ProcessOutcome outcome = faulty("SaysTooLong");
    expectStatus(outcome, SeedKeyStatus::badKey);
    EXPECT_EQ(sentence(outcome),
              "SaysTooLong gave a key of 125 bytes, but there is room for 124; check protocol and entry");
    const ProcessOutcome wide =
        helper({badLibrary("faults"), "CcpTooLong", "ccp", "0", "0102", "--room", "124"});
    expectStatus(wide, SeedKeyStatus::badKey);
    EXPECT_THAT(wide.error, HasSubstr("CcpTooLong gave a key of 260 bytes, but there is room for 124;"));
}

TEST(TheSeedKeyHelper, NoticesASingleByteBehindTheRoom) {
    for (const char* entry : {"OneTooMany", "FarTooMany"}) {
        const ProcessOutcome outcome = faulty(entry);
        expectStatus(outcome, SeedKeyStatus::badKey);
        EXPECT_EQ(sentence(outcome), std::string(entry) +
                                         " wrote behind the 124 bytes for the key; check protocol "
                                         "and entry");
    }
}

TEST(TheSeedKeyHelper, BearsALibraryThatTakesTheLengthForOneOf32Bits) {
    expectKey(faulty("WideLength"), "0201");
}

TEST(TheSeedKeyHelper, CrashesAsTheLibraryDoes) {
    EXPECT_EQ(faulty("Crash").end, ProcessEnd::signalled);
    EXPECT_EQ(faulty("Crash").code, SIGSEGV);
    EXPECT_EQ(faulty("Abort").code, SIGABRT);
}

TEST(TheSeedKeyHelper, EndsALibraryThatHangs) {
    EXPECT_EQ(faulty("Hang", {"--limit", "1"}).code, SIGALRM);
}

TEST(TheSeedKeyHelper, TellsThatTheLibraryEndedTheProcess) {
    const ProcessOutcome outcome = faulty("Exit");
    expectStatus(outcome, SeedKeyStatus::ended);
    EXPECT_EQ(sentence(outcome), "Exit ended the process; ask its maker");
}

TEST(TheSeedKeyHelper, KeepsWhatTheLibraryPrintsOutOfTheKey) {
    const ProcessOutcome outcome = faulty("Talkative");
    expectKey(outcome, "0201");
    EXPECT_EQ(outcome.error, "00112233\ncomputing\nwithout a line end");
}

TEST(TheSeedKeyHelper, GivesTheKeyOfALibraryThatClosesTheStandardStreams) {
    expectKey(faulty("ClosesStreams"), "0201");
}

TEST(TheSeedKeyHelper, HasNoOutputForALibraryThatClosesEverything) {
    const ProcessOutcome outcome = faulty("ClosesAllButStandardError");
    expectStatus(outcome, SeedKeyStatus::outputLost);
    EXPECT_EQ(sentence(outcome), "ClosesAllButStandardError closed the output for its key; ask its maker");
    expectStatus(faulty("ClosesEverything"), SeedKeyStatus::outputLost);
}

TEST(TheSeedKeyHelper, DoesNotRunWhatTheLibraryLeavesForTheEnd) {
    expectKey(faulty("CrashesWhenItIsUnloaded"), "0201");
}

TEST(TheSeedKeyHelper, TellsWhichKnownFunctionALibraryHasInstead) {
    const ProcessOutcome outcome = helper({"--check", host_test::kSeedKeyCcp, "XCP_ComputeKeyFromSeed"});
    expectStatus(outcome, SeedKeyStatus::noEntry);
    EXPECT_EQ(outcome.error,
              std::string("talvex-seedkey: ") + host_test::kSeedKeyCcp +
                  ": has no function XCP_ComputeKeyFromSeed; it has ASAP1A_CCP_ComputeKeyFromSeed, so "
                  "set the entry to that, or the protocol to the other one\n");
    EXPECT_EQ(sentence(helper({"--check", badLibrary("faults"), "Key"})),
              "has no function Key; it has neither XCP_ComputeKeyFromSeed nor ASAP1A_CCP_ComputeKeyFromSeed, "
              "so set "
              "the entry to the name that its maker gave it");
}

TEST(TheSeedKeyHelper, ChecksALibraryWithoutCallingIt) {
    const ProcessOutcome outcome = helper({"--check", badLibrary("faults"), "Crash"});
    EXPECT_EQ(outcome.end, ProcessEnd::exited);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.error, "");
}

std::string loadComplaint(const std::string& path) {
    const ProcessOutcome outcome = helper({"--check", path, "XCP_ComputeKeyFromSeed"});
    expectStatus(outcome, SeedKeyStatus::notLoaded);
    const std::string head = "talvex-seedkey: " + path + ": ";
    EXPECT_THAT(outcome.error, StartsWith(head));
    return outcome.error.substr(std::min(head.size(), outcome.error.size()));
}

TEST(TheSeedKeyHelper, TellsWhyAFileCannotBeLoaded) {
    EXPECT_EQ(loadComplaint("/nowhere/keys.so"),
              "No such file or directory; check the path of the seed and key library\n");
    EXPECT_EQ(loadComplaint("/tmp"), "is not a file; name the shared library itself\n");
    const host_test::TempFile text("[ecu]\n");
    EXPECT_EQ(loadComplaint(text.path()), "is not a shared library; name the file that ends in .so\n");
    const host_test::TempFile empty("");
    EXPECT_EQ(loadComplaint(empty.path()), "is not a shared library; name the file that ends in .so\n");
    const host_test::TempFile windows("MZ\x90");
    EXPECT_EQ(loadComplaint(windows.path()), "is a library for Windows; ask its maker for one for Linux\n");
    EXPECT_EQ(loadComplaint(badLibrary("missing_symbol")),
              "cannot be loaded: undefined symbol: functionOfADongle; install what it depends on\n");
}

TEST(TheSeedKeyHelper, TellsThatALibraryHasAnotherWordSize) {
    const bool wide = sizeof(void*) == 8;
    const host_test::TempFile other(wide ? "\x7F"
                                           "ELF\x01 and more"
                                         : "\x7F"
                                           "ELF\x02 and more");
    EXPECT_EQ(loadComplaint(other.path()),
              wide ? "is a 32-bit library; give a helper built for 32 bits, this one has 64\n"
                   : "is a 64-bit library; give a helper built for 64 bits, this one has 32\n");
}

TEST(TheSeedKeyHelper, TellsHowItIsCalled) {
    const ProcessOutcome help = helper({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.output, host::seedKeyUsage());
    const ProcessOutcome wrong = helper({"keys.so"});
    expectStatus(wrong, SeedKeyStatus::usage);
    EXPECT_EQ(wrong.error, "talvex-seedkey: there are 1 arguments; --help tells what they have to be\n");
}

}  // namespace
