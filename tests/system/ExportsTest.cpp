// The dynamic symbol table of the built library against cmake/TalvexSDK.exports.

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ::testing::IsEmpty;

// One line of nm: the letter of its kind and the name as nm shows it.
struct Symbol {
    char kind = ' ';
    std::string name;
};

// Standard output of a command; empty if it could not run.
std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
    std::string output;
    std::array<char, 4096> part{};
    while (pipe && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) {
        output += part.data();
    }
    return output;
}

std::vector<Symbol> symbols(const std::string& options) {
    static const std::regex kForm(R"(^[0-9a-f]+ (\S) (.+)$)");
    std::istringstream lines(outputOf("nm -D --defined-only " + options + " '" TALVEX_LIBRARY_FILE "'"));
    std::vector<Symbol> found;
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, match, kForm)) {
            found.push_back({match.str(1)[0], match.str(2)});
        }
    }
    return found;
}

// The name without its argument list and its ABI tags.
std::string bareName(const std::string& demangled) {
    return std::regex_replace(demangled, std::regex(R"(\[abi:\w+\]|\(.*$)"), "");
}

std::multiset<std::string> listedExports() {
    std::ifstream file(TALVEX_SOURCE_DIR "/cmake/TalvexSDK.exports");
    std::multiset<std::string> names;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#') {
            names.insert(line);
        }
    }
    return names;
}

class Exports : public ::testing::Test {
protected:
    void SetUp() override {
        if (outputOf("nm --version 2>/dev/null").empty()) {
            GTEST_SKIP() << "nm is not installed";
        }
    }
};

TEST_F(Exports, LibraryExportsWhatTheListNamesAndNothingElse) {
    std::multiset<std::string> built;
    for (const Symbol& symbol : symbols("-C")) {
        built.insert(bareName(symbol.name));
    }
    EXPECT_EQ(built, listedExports());
}

TEST_F(Exports, AllAreOrdinaryFunctions) {
    std::vector<std::string> others;
    for (const Symbol& symbol : symbols("-C")) {
        if (symbol.kind != 'T') {
            others.push_back(std::string(1, symbol.kind) + " " + symbol.name);
        }
    }
    EXPECT_THAT(others, IsEmpty());
}

// A unique symbol (kind u) would keep dlclose from unloading the library.
TEST_F(Exports, NoSymbolIsUniqueInTheProcess) {
    const std::vector<Symbol> all = symbols("");
    ASSERT_FALSE(all.empty());
    for (const Symbol& symbol : all) {
        EXPECT_NE(symbol.kind, 'u') << symbol.name;
    }
}

// Hosts look these up by their bare names.
TEST_F(Exports, PlainFunctionsHaveTheirBareNames) {
    const std::set<std::string> kPlain = {"recvCanMsg",    "isConnectEcu",        "isMeasureing",
                                          "stopAllTask",   "EcuDisconnect",       "StopMeasurement",
                                          "DeleteMemBuff", "ParseMemFileNewBuff", "CheckMemory"};
    const std::regex channelFunction("xcp[A-Z]\\w*");
    std::set<std::string> expected;
    for (const std::string& name : listedExports()) {
        if (kPlain.count(name) != 0 || (std::regex_match(name, channelFunction) && name != "xcpTest")) {
            expected.insert(name);
        }
    }
    std::set<std::string> unmangled;
    for (const Symbol& symbol : symbols("")) {
        if (symbol.name.rfind("_Z", 0) != 0) {
            unmangled.insert(symbol.name);
        }
    }
    EXPECT_GE(expected.size(), 6U);
    EXPECT_EQ(unmangled, expected);
}

TEST(BareName, LosesArgumentsAndAbiTags) {
    EXPECT_EQ(bareName("getErrorString[abi:cxx11](int)"), "getErrorString");
    EXPECT_EQ(bareName("talvex_interface::getCommandName(unsigned char, bool)"),
              "talvex_interface::getCommandName");
    EXPECT_EQ(bareName("recvCanMsg"), "recvCanMsg");
}

}  // namespace
