// Seed and key functions as the SDK calls them, with each call in the helper.

#include "host/SeedKeyLoader.h"

#include "host/SeedKeyProcess.h"
#include "host/SeedKeyWire.h"
#include "sim/SeedKey.h"
#include "tests/host/Places.h"
#include "tests/host/Program.h"
#include "tests/host/SeedKeyTesting.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using host::loadSeedKey;
using host::SeedKeySource;
using host_test::badLibrary;
using host_test::Complaints;
using host_test::faulty;
using host_test::sourceOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Bytes = std::vector<std::uint8_t>;

// What a call of the function came to.
struct Call {
    std::int32_t result = -1;
    Bytes key;               // as long as the function says
    bool untouched = false;  // what it was to write to is as it was before
};

Call call(const SeedKeyFun& function, std::uint8_t privilege, Bytes seed, std::uint8_t room = 124) {
    std::array<std::uint8_t, 256> key{};
    key.fill(0xEE);
    Call made;
    std::uint8_t length = room;
    made.result =
        function(privilege, static_cast<std::uint8_t>(seed.size()), seed.data(), &length, key.data());
    made.key.assign(key.begin(), key.begin() + length);
    made.untouched = length == room && made.key == Bytes(room, 0xEE);
    return made;
}

// The only complaint of a function that can be loaded and gives no key.
std::string complaintOf(const SeedKeySource& source) {
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(source, complaints.taker());
    EXPECT_TRUE(function) << source.entry;
    EXPECT_THAT(complaints.texts(), IsEmpty());
    if (!function) {
        return "";
    }
    const Call made = call(function, 1, {0x01, 0x02});
    EXPECT_EQ(made.result, 0);
    EXPECT_TRUE(made.untouched);
    EXPECT_EQ(complaints.texts().size(), 1U);
    return complaints.texts().empty() ? "" : complaints.texts().front();
}

// The only complaint about a library that cannot be used.
std::string loadComplaintOf(const SeedKeySource& source) {
    Complaints complaints;
    EXPECT_FALSE(loadSeedKey(source, complaints.taker()));
    EXPECT_EQ(complaints.texts().size(), 1U);
    return complaints.texts().empty() ? "" : complaints.texts().front();
}

// ---- Keys ---------------------------------------------------------------------------------------------

TEST(ASeedKeyLibraryForXcp, GivesItsKeyWithTheSuccessOfTheSdk) {
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(sourceOf(host_test::kSeedKeyXcp), complaints.taker());
    ASSERT_TRUE(function);
    const Call made = call(function, 0x01, {0x00, 0x11, 0x22, 0x33});
    EXPECT_EQ(made.result, 1);
    EXPECT_EQ(made.key, (Bytes{0xB4, 0x70, 0x9D, 0xF5}));
    EXPECT_EQ(call(function, 0x10, {0x00}).key, Bytes{0x57});
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

TEST(ASeedKeyLibraryForXcp, IsCalledWithThePrivilegeAndTheRoomOfTheSdk) {
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(faulty("Echo"), complaints.taker());
    ASSERT_TRUE(function);
    EXPECT_EQ(call(function, 0x10, Bytes(255, 0), 124).key, (Bytes{0x10, 0xFF, 124}));
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

TEST(ASeedKeyLibraryForCcp, GivesItsKeyAndIsNotToldThePrivilege) {
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(sourceOf(host_test::kSeedKeyCcp, "", true), complaints.taker());
    ASSERT_TRUE(function);
    for (const std::uint8_t privilege : Bytes{0x01, 0x02, 0x40}) {
        const Call made = call(function, privilege, {0x00, 0x11, 0x22, 0x33});
        EXPECT_EQ(made.result, 1);
        EXPECT_EQ(made.key, (Bytes{0xBE, 0x91, 0x76, 0xE6}));
    }
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

TEST(ASeedKeyLibraryForCcp, IsCalledWithLengthsOf16Bits) {
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(faulty("CcpEcho", true), complaints.taker());
    ASSERT_TRUE(function);
    EXPECT_EQ(call(function, 1, Bytes(255, 0), 124).key, (Bytes{0x00, 0xFF, 0x00, 124}));
}

TEST(TheExampleLibraries, HaveTheKeysOfTheSimulatedEcus) {
    Complaints complaints;
    const SeedKeyFun xcp = loadSeedKey(sourceOf(host_test::kSeedKeyXcp), complaints.taker());
    const SeedKeyFun ccp = loadSeedKey(sourceOf(host_test::kSeedKeyCcp, "", true), complaints.taker());
    ASSERT_TRUE(xcp && ccp);
    for (std::size_t length = 1; length <= 124; length += 41) {
        const Bytes seed = sim::makeSeed(0x04, length, 7);
        EXPECT_EQ(call(xcp, 0x04, seed).key, sim::computeKey(0x04, seed));
        EXPECT_EQ(call(ccp, 0x02, seed).key, sim::computeKey(0x02, seed));
    }
}

TEST(ASeedKeySource, CanTurnTheMeaningOfTheResultEitherWay) {
    Complaints complaints;
    SeedKeySource nonZero = faulty("OneIsSuccess");
    nonZero.zeroIsSuccess = false;
    EXPECT_EQ(call(loadSeedKey(nonZero, complaints.taker()), 1, {0x01, 0x02}).key, (Bytes{0x02, 0x01}));
    SeedKeySource zero = faulty("CcpZeroIsSuccess", true);
    zero.zeroIsSuccess = true;
    EXPECT_EQ(call(loadSeedKey(zero, complaints.taker()), 1, {0x0F}).key, Bytes{0xF0});
    EXPECT_THAT(complaints.texts(), IsEmpty());
    nonZero.entry = "Plain";
    EXPECT_EQ(complaintOf(nonZero),
              "seed and key: " + badLibrary("faults") +
                  ": Plain refused with 0; if its maker takes that for success, set success "
                  "to zero");
    zero.zeroIsSuccess.reset();
    EXPECT_THAT(complaintOf(zero), HasSubstr("CcpZeroIsSuccess refused with 0;"));
}

TEST(ASeedKeyLibrary, ThatPrintsOrClosesItsStreamsGivesItsKey) {
    Complaints complaints;
    for (const char* entry : {"Talkative", "ClosesStreams", "CrashesWhenItIsUnloaded", "LeavesAChild"}) {
        const Call made = call(loadSeedKey(faulty(entry), complaints.taker()), 1, {0x01, 0x02});
        EXPECT_EQ(made.result, 1) << entry;
        EXPECT_EQ(made.key, (Bytes{0x02, 0x01})) << entry;
    }
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

TEST(ASeedKeyLibrary, SeesNoDescriptorOfTheHost) {
    const int leaking = open("/dev/null", O_RDONLY);  // without O_CLOEXEC
    ASSERT_GE(leaking, 0);
    Complaints complaints;
    const Call made = call(loadSeedKey(faulty("OpenDescriptors"), complaints.taker()), 1, {0x01});
    EXPECT_EQ(made.key, Bytes{0});
    close(leaking);
}

TEST(ASeedKeyLibrary, IsCalledFromManyThreadsAtOnce) {
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(faulty("Plain"), complaints.taker());
    ASSERT_TRUE(function);
    std::array<Call, 8> made;
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < made.size(); ++i) {
        threads.emplace_back([&, i] { made[i] = call(function, 1, {0x77, static_cast<std::uint8_t>(i)}); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < made.size(); ++i) {
        EXPECT_EQ(made[i].key, (Bytes{static_cast<std::uint8_t>(i), 0x77}));
    }
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

// ---- Libraries that fail --------------------------------------------------------------------------------

TEST(ASeedKeyLibrary, ThatCrashesFailsAndTakesNobodyAlong) {
    const std::string place = "seed and key: " + badLibrary("faults");
    EXPECT_EQ(complaintOf(faulty("Crash")),
              place + ": Crash crashed (Segmentation fault); ask its maker, who may want to see: " +
                  host_test::kSeedKeyProgram + " " + badLibrary("faults") +
                  " Crash xcp 1 0102 --success zero --room 124 --limit 62");
    EXPECT_THAT(complaintOf(faulty("Abort")), StartsWith(place + ": Abort crashed (Aborted); "));
}

TEST(ASeedKeyLibrary, OfAPlaceWithBlanksAndQuotesIsNamedAsAShellTakesIt) {
    const support::TempFolder folder;
    const std::string library = folder.path("maker's keys.so");
    std::filesystem::copy_file(badLibrary("faults"), library);
    SeedKeySource source = faulty("Crash");
    source.path = library;
    const std::string text = complaintOf(source);
    const std::string before = "want to see: ";
    const std::size_t place = text.find(before);
    ASSERT_NE(place, std::string::npos) << text;
    EXPECT_THAT(text, HasSubstr("/maker'\\''s keys.so' Crash xcp 1 0102 --success"));
    const int status = std::system(("sh -c 'ulimit -c 0'; " + text.substr(place + before.size())).c_str());
    EXPECT_TRUE((WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV) || WEXITSTATUS(status) == 128 + SIGSEGV);
}

TEST(ASeedKeyLibrary, ThatTakesLongIsStoppedWhenTheHostWantsThat) {
    SeedKeySource source = faulty("Hang");
    bool stop = false;
    source.stop = [&stop] { return stop; };
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(source, complaints.taker());
    ASSERT_TRUE(function);
    stop = true;
    EXPECT_EQ(call(function, 1, {0x01}).result, 0);
    EXPECT_THAT(complaints.texts(),
                ElementsAre("seed and key: " + badLibrary("faults") + ": Hang was interrupted"));
}

host::SeedKeyAnswer answerOf(const std::string& entry, std::uint16_t limitS, std::uint32_t timeMs) {
    host::SeedKeyRequest request;
    request.library = badLibrary("faults");
    request.entry = entry;
    request.seed = {0x01};
    request.limitS = limitS;
    return host::runSeedKeyHelper(host_test::kSeedKeyProgram, request, timeMs, {});
}

TEST(ASeedKeyLibrary, ThatHangsIsStopped) {
    for (const char* entry : {"Hang", "HangWithoutSignals"}) {
        const host::SeedKeyAnswer answer = answerOf(entry, 1'000, 200);
        EXPECT_THAT(answer.key, IsEmpty());
        EXPECT_EQ(answer.problem,
                  badLibrary("faults") + ": " + entry +
                      " did not come back within 200 ms and was stopped; raise its time limit or "
                      "ask its maker");
    }
}

TEST(ASeedKeyLibrary, ThatHangsIsStoppedByTheHelperToo) {
    EXPECT_EQ(answerOf("Hang", 1, host_test::kPatientMs).problem,
              badLibrary("faults") + ": Hang did not come back and was stopped; ask its maker");
}

TEST(ASeedKeyLibrary, ThatGivesABadKeyFails) {
    const std::string place = "seed and key: " + badLibrary("faults") + ": ";
    EXPECT_EQ(complaintOf(faulty("NoBytes")),
              place + "NoBytes gave a key of no bytes; ask its maker for the length of its seeds");
    EXPECT_EQ(
        complaintOf(faulty("SaysTooLong")),
        place + "SaysTooLong gave a key of 125 bytes, but there is room for 124; check protocol and entry");
    EXPECT_EQ(
        complaintOf(faulty("CcpTooLong", true)),
        place + "CcpTooLong gave a key of 260 bytes, but there is room for 124; check protocol and entry");
    for (const char* entry : {"OneTooMany", "FarTooMany"}) {
        EXPECT_EQ(complaintOf(faulty(entry)),
                  place + entry + " wrote behind the 124 bytes for the key; check protocol and entry");
    }
}

TEST(ASeedKeyLibrary, ThatEndsTheProcessFails) {
    const std::string place = "seed and key: " + badLibrary("faults") + ": ";
    EXPECT_EQ(complaintOf(faulty("Exit")), place + "Exit ended the process; ask its maker");
    EXPECT_EQ(complaintOf(faulty("ExitAtOnce")),
              place + "ExitAtOnce ended the process without a key; ask its maker");
    EXPECT_EQ(complaintOf(faulty("ExitWithThree")),
              place + "ExitWithThree ended the helper with code 3 and without a message; ask its maker");
}

TEST(ASeedKeyLibrary, ThatClosesTheHelpersOutputFails) {
    const std::string place = "seed and key: " + badLibrary("faults") + ": ";
    EXPECT_EQ(complaintOf(faulty("ClosesAllButStandardError")),
              place + "ClosesAllButStandardError closed the output for its key; ask its maker");
    EXPECT_EQ(complaintOf(faulty("ClosesEverything")),
              place + "ClosesEverything ended the helper with code 7 and without a message; ask its maker");
}

TEST(ASeedKeyLibrary, ThatPrintsWithoutEndIsStopped) {
    EXPECT_EQ(complaintOf(faulty("TalksForEver")),
              "seed and key: " + badLibrary("faults") +
                  ": TalksForEver printed more than 131072 bytes and was stopped; ask its maker");
}

// ---- Libraries that cannot be used ----------------------------------------------------------------------

TEST(ASeedKeyLibraryThatCannotBeUsed, IsNoFunctionAndIsNamedWithTheReason) {
    EXPECT_EQ(loadComplaintOf(sourceOf("/nowhere/keys.so")),
              "seed and key: /nowhere/keys.so: No such file or directory; check the path of the seed and key "
              "library");
    EXPECT_EQ(loadComplaintOf(sourceOf(badLibrary("missing_symbol"))),
              "seed and key: " + badLibrary("missing_symbol") +
                  ": cannot be loaded: undefined symbol: functionOfADongle; install what it depends on");
    EXPECT_THAT(
        loadComplaintOf(sourceOf(badLibrary("crash_at_load"))),
        StartsWith("seed and key: " + badLibrary("crash_at_load") + ": loading it crashed (Aborted); "));
    const host_test::TempFile text("no library");
    EXPECT_EQ(loadComplaintOf(sourceOf(text.path())),
              "seed and key: " + text.path() + ": is not a shared library; name the file that ends in .so");
}

TEST(ASeedKeyLibraryThatCannotBeUsed, IsOneOfTheOtherProtocol) {
    EXPECT_EQ(loadComplaintOf(sourceOf(host_test::kSeedKeyXcp, "", true)),
              std::string("seed and key: ") + host_test::kSeedKeyXcp +
                  ": has no function ASAP1A_CCP_ComputeKeyFromSeed; it has XCP_ComputeKeyFromSeed, so set "
                  "the entry "
                  "to that, or the protocol to the other one");
}

TEST(ASeedKeyHelper, ThatIsNotThereIsNamed) {
    SeedKeySource source = sourceOf(host_test::kSeedKeyXcp);
    source.helper = "/nowhere/talvex-seedkey";
    EXPECT_EQ(
        loadComplaintOf(source),
        "seed and key: the helper /nowhere/talvex-seedkey cannot be started: No such file or directory; give "
        "the path of talvex-seedkey, built for the word size of the library");
}

TEST(ASeedKeyHelper, ThatIsAnotherProgramIsNoHelper) {
    SeedKeySource source = sourceOf(host_test::kSeedKeyXcp);
    source.helper = "/bin/echo";
    EXPECT_EQ(loadComplaintOf(source), std::string("seed and key: ") + host_test::kSeedKeyXcp +
                                           ": loading it ended the process without a key; ask its maker");
}

TEST(ASeedKeyHelper, IsLookedForOnThePathWhenNoneIsNamed) {
    const std::string folder = std::filesystem::path(host_test::kSeedKeyProgram).parent_path();
    SeedKeySource source = sourceOf(host_test::kSeedKeyXcp);
    source.helper.clear();
    setenv("PATH", ("/nowhere:" + folder).c_str(), 1);
    EXPECT_EQ(host::findSeedKeyHelper(), host_test::kSeedKeyProgram);
    Complaints complaints;
    EXPECT_TRUE(loadSeedKey(source, complaints.taker()));
    EXPECT_THAT(complaints.texts(), IsEmpty());
    setenv("PATH", "/nowhere", 1);
    EXPECT_EQ(host::findSeedKeyHelper(), "");
    EXPECT_EQ(loadComplaintOf(source),
              std::string("seed and key: ") + host_test::kSeedKeyXcp +
                  ": there is no talvex-seedkey to load it, neither beside this program nor "
                  "on PATH; install it or give its path");
}

TEST(TheSimulatedSeedKey, NeedsNoHelper) {
    SeedKeySource source = sourceOf("sim:");
    source.helper = "/nowhere/talvex-seedkey";
    Complaints complaints;
    EXPECT_EQ(call(loadSeedKey(source, complaints.taker()), 1, {0x00, 0x11, 0x22, 0x33}).key,
              (Bytes{0xB4, 0x70, 0x9D, 0xF5}));
    EXPECT_EQ(call(loadSeedKey("sim:"), 1, {0x00, 0x11, 0x22, 0x33}).key, (Bytes{0xB4, 0x70, 0x9D, 0xF5}));
    EXPECT_FALSE(loadSeedKey("keys.so"));
    EXPECT_THAT(complaints.texts(), IsEmpty());
}

// ---- The other word size --------------------------------------------------------------------------------

bool succeeds(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}

TEST(AHelperOf32Bits, ServesALibraryOf32Bits) {
    const support::TempFolder folder;
    const std::string root = host_test::kProjectFolder;
    const std::string helper = folder.path("talvex-seedkey32");
    const std::string library = folder.path("xcp_example.so");
    if (sizeof(void*) != 8 ||
        !succeeds("echo 'int main() {}' | g++ -m32 -x c++ - -o " + folder.path("probe")) ||
        !succeeds(folder.path("probe"))) {
        GTEST_SKIP() << "g++ -m32 does not work here (Debian package g++-multilib)";
    }
    ASSERT_TRUE(succeeds("g++ -m32 -std=c++20 -I" + root + " " + root + "/host/seedkey/*.cpp " + root +
                         "/host/SeedKeyWire.cpp -ldl -o " + helper));
    ASSERT_TRUE(succeeds("gcc -m32 -std=c11 -shared -fPIC " + root + "/examples/seedkey/xcp_example.c -o " +
                         library));
    SeedKeySource source = sourceOf(library);
    EXPECT_EQ(loadComplaintOf(source),
              "seed and key: " + library +
                  ": is a 32-bit library; give a helper built for 32 bits, this one has 64");
    source.helper = helper;
    Complaints complaints;
    const SeedKeyFun function = loadSeedKey(source, complaints.taker());
    EXPECT_THAT(complaints.texts(), IsEmpty());
    ASSERT_TRUE(function);
    EXPECT_EQ(call(function, 1, {0x00, 0x11, 0x22, 0x33}).key, (Bytes{0xB4, 0x70, 0x9D, 0xF5}));
    source.path = host_test::kSeedKeyXcp;
    EXPECT_THAT(loadComplaintOf(source), HasSubstr("is a 64-bit library; give a helper built for 64 bits"));
}

}  // namespace
