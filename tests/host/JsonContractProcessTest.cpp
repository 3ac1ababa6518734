// What all sub-commands promise to programs that read them: one object a line, each of a known shape, the
// last one the result with the exit code.

#include "tests/host/JsonSchema.h"
#include "tests/host/MemoryTesting.h"
#include "tests/host/Places.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using host_test::Json;
using host_test::jsonMistake;
using host_test::jsonShapes;
using host_test::linesOf;
using host_test::MemoryFolder;
using host_test::Outcome;
using host_test::runProgram;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Arguments = std::vector<std::string>;

void expectContract(const Outcome& outcome, const std::string& command) {
    const std::vector<std::string> lines = linesOf(outcome.out);
    ASSERT_FALSE(lines.empty()) << outcome.err;
    for (const std::string& line : lines) {
        EXPECT_EQ(jsonMistake(line, jsonShapes()), "");
    }
    const Json result = Json::parse(lines.back());
    EXPECT_EQ(result.at("type"), "result");
    EXPECT_EQ(result.at("command"), command);
    EXPECT_EQ(result.at("code"), outcome.code);
}

TEST(JsonContract, HoldsForWhatTalksToEcus) {
    const MemoryFolder folder;
    folder.file("some.hex", ":020010000ABC28\n:00000001FF\n");
    const std::vector<Arguments> commands{{"info"},
                                          {"read", "engine_speed"},
                                          {"read", "nonsense"},

                                          {"upload", "page.hex"},
                                          {"flash", "some.hex"},
                                          {"flash", "some.hex", "--ignore-outside", "--dry-run"},
                                          {"erase"},
                                          {"check", "page.hex"},
                                          {"check", "page.hex", "--segment", "reference"}};
    for (const Arguments& command : commands) {
        Arguments rest(command.begin() + 1, command.end());
        rest.emplace_back("--json");
        expectContract(folder.talvex(command[0], "engine", rest), command[0]);
    }
}

TEST(JsonContract, HoldsForPages) {
    const MemoryFolder folder;
    for (const std::string action : {"working", "reference", "copy"}) {
        expectContract(
            runProgram({"page", action, "--config", folder.path("ecus.toml"), "--ecu", "engine", "--json"}),
            "page " + action);
    }
}

TEST(JsonContract, HoldsForWhatWorksOffline) {
    const MemoryFolder folder;
    folder.file("a.hex", ":01002000FFE0\n:020010000ABC28\n:020020000607D1\n:00000001FF\n");
    folder.file("b.hex", ":020010000ABC28\n:00000001FF\n");
    const std::vector<Arguments> commands{{"info", "a.hex", "--checksum", "add12"},
                                          {"merge", "b.hex", "-o", "c.s19"},
                                          {"crop", "b.hex", "-o", "c.s19", "--range", "16:1"},
                                          {"convert", "b.hex", "-o", "c.s19"},
                                          {"compare", "b.hex", "c.s19"},
                                          {"compare", "b.hex", "nowhere.hex"}};
    for (Arguments command : commands) {
        const std::string name = "hex " + command[0];
        command.emplace_back("--json");
        expectContract(folder.hex(command), name);
    }
    expectContract(runProgram({"decode", "examples/demo.log", "--json"}), "decode");
    expectContract(runProgram({"decode", "examples/demo.log", "--json", "--stats"}), "decode");
    expectContract(runProgram({"decode", "nowhere.log", "--json"}), "decode");
    expectContract(runProgram({"decode", "examples/demo.log", "--json", "--xcp", "600"}), "decode");
}

TEST(JsonContract, WrongUsageHasAResultToo) {
    const Outcome outcome = runProgram({"read", "--json"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.err, StartsWith("talvex: names is required"));
    expectContract(outcome, "read");
    expectContract(runProgram({"hex", "crop", "--json", "--nonsense"}), "hex crop");
}

TEST(CommandLine, WrongUsageIsToldWithTheNameOfTheProgram) {
    const Outcome outcome = runProgram({"upload"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "talvex: file is required; more with: talvex upload --help\n");
}

TEST(CommandLine, HelpNamesTheSubCommandsInTheOrderOfTheWork) {
    const Outcome outcome = runProgram({"--help"});
    EXPECT_EQ(outcome.code, 0);
    std::size_t last = 0;
    for (const char* name : {"demo", "info", "measure", "read", "write", "page", "upload", "flash", "erase",
                             "check", "plan", "decode", "hex", "sim"}) {
        const std::size_t at = outcome.out.find(std::string("\n  ") + name + " ");
        ASSERT_NE(at, std::string::npos) << name;
        EXPECT_GT(at, last) << name;
        last = at;
    }
}

TEST(CommandLine, EachSubCommandHelps) {
    for (const char* name : {"demo", "info", "measure", "read", "write", "page", "upload", "flash", "erase",
                             "check", "plan", "decode", "hex", "sim"}) {
        const Outcome outcome = runProgram({name, "--help"});
        EXPECT_EQ(outcome.code, 0) << name;
        EXPECT_EQ(outcome.err, "") << name;
        EXPECT_THAT(outcome.out, HasSubstr("Usage: ")) << name;
    }
}

TEST(StandardOutput, ThatCannotBeWrittenIsAFailureWithAMessage) {
    const MemoryFolder folder;
    folder.file("a.hex", ":020010000ABC28\n:00000001FF\n");
    const std::string begin = "cd '" + folder.path("") + "' && '" + host_test::kProgram + "' ";
    for (const char* command :
         {"read -c ecus.toml -e engine engine_speed", "page working -c ecus.toml -e engine",
          "read -c ecus.toml -e engine engine_speed --json", "erase -c ecus.toml -e engine --dry-run",
          "erase -c ecus.toml -e engine --dry-run --json", "hex info a.hex", "hex info a.hex --json"}) {
        const int status = std::system((begin + command + " >/dev/full 2>errors").c_str());
        EXPECT_EQ(WEXITSTATUS(status), 1) << command;
        EXPECT_THAT(folder.text("errors"), HasSubstr("talvex: standard output: could not be written whole\n"))
            << command;
    }
}

}  // namespace
