// The floors of docs/architecture.md, held against the real tree, and each rule against a tree that breaks
// it.

#include "tests/include/IncludeRules.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const SourceTree& projectTree() {
    static const SourceTree kTree = readSourceTree(TALVEX_SOURCE_DIR);
    return kTree;
}

TEST(IncludeStructure, ProjectKeepsItsFloors) {
    EXPECT_THAT(breaches(projectTree()), IsEmpty());
}

TEST(IncludeStructure, ProjectTreeHoldsTheFilesThatTheRulesAreAbout) {
    for (const char* path :
         {"include/TalvexSDK.h", "engine/ITask_Transmit.h", "transport/FrameStore.h", "xcp/XcpDaq.h",
          "daq/IDaq.h", "sim/VirtualBus.h", "engine/TaskFactory.cpp", "daq/DaqInfo.cpp"}) {
        EXPECT_TRUE(projectTree().count(path) == 1 && !projectTree().at(path).empty()) << path;
    }
}

// One row: a made-up tree and the breaches that must be found in it.
struct Case {
    std::string name;
    SourceTree tree;
    std::vector<std::string> expected;
};

void PrintTo(const Case& row, std::ostream* out) {
    *out << row.name;
}

const SourceTree kGoodTree = {
    {"include/TalvexSDK.h", "#include <vector>\n#include \"TalvexPlain.h\"\n"},
    {"include/TalvexPlain.h", "#include <stdint.h>\n"},
    {"platform/Timer.h", "#include <chrono>\n"},
    {"platform/Timer.cpp", "#include \"platform/Timer.h\"\n#include <windows.h>\n"},
    {"memfile/Reader.cpp", "#include \"platform/Timer.h\"\n"},
    {"daq/IDaq.h", "#include <TalvexSDK.h>\n"},
    {"daq/DaqInfo.cpp",
     "#include \"xcp/XcpDaq.h\"\n#include \"ccp/CcpDaq.h\"\nint getDaqInfo() { XcpDaq a; CcpDaq b; }\n"},
    {"transport/Clock.h", "#include \"daq/IDaq.h\"\n"},
    {"engine/ITask_Transmit.h", "#include \"TalvexSDK.h\"\n#include \"transport/Clock.h\"\n"},
    {"engine/ProtoThread.h", "#include \"engine/ITask_Transmit.h\"\nvoid createTask();\n"},
    {"engine/TaskFactory.h", "#include \"engine/ITask_Transmit.h\"\n"},
    {"engine/TaskFactory.cpp",
     "#include \"xcp/XcpTaskTransmit.h\"\n#include \"ccp/CcpTaskTransmit.h\"\n"
     "void createTask() { XcpTaskTransmit a; CcpTaskTransmit b; }\n"},
    {"xcp/XcpDaq.h", "#include \"daq/IDaq.h\"\n"},
    {"xcp/XcpTaskTransmit.h", "#include \"engine/ITask_Transmit.h\"\n#include \"xcp/XcpDaq.h\"\n"},
    {"ccp/CcpDaq.h", "#include \"daq/IDaq.h\"\n"},
    {"ccp/CcpTaskTransmit.h", "#include \"engine/ITask_Transmit.h\"\n"},
    {"channel/Channel.h", ""},
    {"channel/Channel.cpp", "#include \"xcp/XcpDaq.h\"\n"},
    {"sim/Bus.h", "#include <vector>\n#include <sched.h>\n"},
    {"sim/Bus.cpp", "#include \"sim/Bus.h\"\n"},
    {"host/Main.cpp", "#include <TalvexSDK.h>\n#include <fmt/format.h>\n#include \"sim/Bus.h\"\n"},
};

// The good tree with one file added or replaced.
SourceTree with(const std::string& path, const std::string& text) {
    SourceTree tree = kGoodTree;
    tree[path] = text;
    return tree;
}

const std::vector<Case> kCases = {
    {"NothingIsWrong", kGoodTree, {}},
    {"UpByOneFloor",
     with("transport/X.h", "#pragma once\n#include \"xcp/XcpDaq.h\"\n"),
     {"transport/X.h:2: may not include xcp/XcpDaq.h"}},
    {"UpFromThePublicHeaders",
     with("include/TalvexX.h", "#include \"daq/IDaq.h\"\n"),
     {"include/TalvexX.h:1: may not include daq/IDaq.h"}},
    {"PlatformIncludesTheLibrary",
     with("platform/X.cpp", "#include \"daq/IDaq.h\"\n"),
     {"platform/X.cpp:1: may not include daq/IDaq.h"}},
    {"PlannersIncludeThePlatform",
     with("xcp/X.cpp", "#include \"platform/Timer.h\"\n"),
     {"xcp/X.cpp:1: may not include platform/Timer.h"}},
    {"SidewaysOnFloorOne",
     with("memfile/X.h", "#include \"daq/IDaq.h\"\n"),
     {"memfile/X.h:1: may not include daq/IDaq.h"}},
    {"SidewaysOnFloorFour",
     with("channel/X.h", "#include \"engine/TaskFactory.h\"\n#include \"engine/ProtoThread.h\"\n"),
     {"channel/X.h:1: may not include engine/TaskFactory.h"}},
    {"EngineIncludesTheChannelInterface",
     with("engine/X.cpp", "#include \"channel/Channel.h\"\n"),
     {"engine/X.cpp:1: may not include channel/Channel.h"}},
    {"XcpIncludesCcp",
     with("xcp/X.cpp", "#include \"ccp/CcpDaq.h\"\n"),
     {"xcp/X.cpp:1: may not include ccp/CcpDaq.h"}},
    {"CcpIncludesXcp",
     with("ccp/X.cpp", "#include \"xcp/XcpDaq.h\"\n"),
     {"ccp/X.cpp:1: may not include xcp/XcpDaq.h"}},
    {"ProtocolIncludesMoreOfTheEngineThanTheTaskInterface",
     with("xcp/X.cpp", "#include \"engine/ProtoThread.h\"\n"),
     {"xcp/X.cpp:1: may not include engine/ProtoThread.h"}},
    {"TransportIncludesTheTaskInterface",
     with("transport/X.h", "#include \"engine/ITask_Transmit.h\"\n"),
     {"transport/X.h:1: may not include engine/ITask_Transmit.h"}},
    {"TaskInterfaceIncludesItsOwnFloor",
     {{"engine/ITask_Transmit.h", "#include \"engine/Codes.h\"\n"}, {"engine/Codes.h", ""}},
     {"engine/ITask_Transmit.h:1: may not include engine/Codes.h"}},
    {"TaskInterfaceIncludesItsUsers",
     with("engine/ITask_Transmit.h", "#include \"ccp/CcpDaq.h\"\n"),
     {"engine/ITask_Transmit.h:1: may not include ccp/CcpDaq.h"}},
    {"AnotherFileOfDaqIncludesAPlanner",
     with("daq/X.cpp", "#include \"xcp/XcpDaq.h\"\n"),
     {"daq/X.cpp:1: may not include xcp/XcpDaq.h"}},
    {"DaqInfoIncludesMoreThanThePlanners",
     with("daq/DaqInfo.cpp", "#include \"xcp/XcpTaskTransmit.h\"\n"),
     {"daq/DaqInfo.cpp:1: may not include xcp/XcpTaskTransmit.h"}},
    {"SecondFileNamesBothTaskClasses",
     with("engine/X.cpp", "void createTask(XcpTaskTransmit&, CcpTaskTransmit&);\n"),
     {"engine/X.cpp: names XcpTaskTransmit and CcpTaskTransmit; only engine/TaskFactory.cpp may"}},
    {"SecondFileNamesBothPlanners",
     with("engine/X.cpp", "XcpDaq a;\nCcpDaq b;\n"),
     {"engine/X.cpp: names XcpDaq and CcpDaq; only daq/DaqInfo.cpp may"}},
    {"SimIncludesTheLibrary",
     with("sim/X.cpp", "#include \"transport/Clock.h\"\n"),
     {"sim/X.cpp:1: may not include transport/Clock.h"}},
    {"SimIncludesAPublicHeaderInBrackets",
     with("sim/X.cpp", "#include <TalvexSDK.h>\n"),
     {"sim/X.cpp:1: may not include include/TalvexSDK.h"}},
    {"HostIncludesTheInside",
     with("host/X.cpp", "#include \"engine/ProtoThread.h\"\n"),
     {"host/X.cpp:1: may not include engine/ProtoThread.h"}},
    {"LibraryIncludesTheSimulation",
     with("xcp/X.cpp", "#include \"sim/Bus.h\"\n"),
     {"xcp/X.cpp:1: may not include sim/Bus.h"}},
    {"PublicHeaderIncludesAForeignLibrary",
     with("include/TalvexX.h", "#include <fmt/format.h>\n"),
     {"include/TalvexX.h:1: may not include <fmt/format.h>, which is not of the standard library"}},
    {"LibraryIncludesASystemHeader",
     with("transport/X.cpp", "#include <pthread.h>\n"),
     {"transport/X.cpp:1: may not include <pthread.h>, which is not of the standard library"}},
    {"IncludeByTheBareNameOfANeighbour",
     with("xcp/X.cpp", "#include \"XcpDaq.h\"\n"),
     {"xcp/X.cpp:1: includes \"XcpDaq.h\", which is not there"}},
    {"IncludeThroughTheParentFolder",
     with("host/X.cpp", "#include \"../sim/Bus.h\"\n"),
     {"host/X.cpp:1: includes \"../sim/Bus.h\", which is not there"}},
    {"CircleOfThree",
     {{"sim/A.h", "#include \"sim/B.h\"\n"},
      {"sim/B.h", "#include \"sim/C.h\"\n"},
      {"sim/C.h", "#include \"sim/B.h\"\n#include \"sim/A.h\"\n"}},
     {"circle: sim/B.h -> sim/C.h -> sim/B.h"}},
    {"CircleThroughItself", {{"sim/A.h", "#include \"sim/A.h\"\n"}}, {"circle: sim/A.h -> sim/A.h"}},
    {"IncludeBehindAConditionAndBlanks",
     with("sim/X.cpp", "#ifdef NEVER\n  #  include \"xcp/XcpDaq.h\"\n#endif\n"),
     {"sim/X.cpp:2: may not include xcp/XcpDaq.h"}},
    {"CommentsDoNotCount",
     with("sim/X.cpp", "// #include \"xcp/XcpDaq.h\"\n/* XcpDaq\n#include \"ccp/CcpDaq.h\"\nCcpDaq */\n"),
     {}},
    {"CodeBehindACommentCounts",
     with("sim/X.cpp", "/* a\n b */ #include \"xcp/XcpDaq.h\"\n"),
     {"sim/X.cpp:2: may not include xcp/XcpDaq.h"}},
};

class IncludeRules : public ::testing::TestWithParam<Case> {};

TEST_P(IncludeRules, FindsExactlyTheseBreaches) {
    EXPECT_EQ(breaches(GetParam().tree), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(MadeUpTrees, IncludeRules, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& row) { return row.param.name; });

TEST(WithoutComments, KeepsWhatLooksLikeACommentInsideALiteral) {
    EXPECT_EQ(withoutComments("a(\"// no\", '\"', \"\\\"/*\"); // yes\nb"),
              "a(\"// no\", '\"', \"\\\"/*\"); \nb");
}

TEST(WithoutComments, TakesAQuoteBetweenDigitsForASeparator) {
    EXPECT_EQ(withoutComments("int n = 1'000; // thousand's\nint m;"), "int n = 1'000; \nint m;");
}

TEST(WithoutComments, KeepsLineEndsOfABlock) {
    EXPECT_EQ(withoutComments("a/*1\n2\n*/b"), "a\n\n b");
}

}  // namespace
