// The library's log as a file.

#include "host/LogFile.h"

#include "tests/host/Program.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <system_error>

namespace {

using host::LogFile;
using ::testing::MatchesRegex;

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

TEST(LogFile, HasALineForEachMessageFromItsLeastLevelOn) {
    const host_test::TempFile file("what was there before");
    LogFile log(file.path(), 2);
    log.write(1, "a result");
    log.write(2, "progress");
    log.write(4, "an error");
    EXPECT_THAT(
        contentOf(file.path()),
        MatchesRegex(" +[0-9]+\\.[0-9]{6} progress progress\n +[0-9]+\\.[0-9]{6} error    an error\n"));
    EXPECT_TRUE(log.close());
    log.write(4, "too late");
    EXPECT_TRUE(log.close());
    EXPECT_EQ(contentOf(file.path()).find("too late"), std::string::npos);
}

TEST(LogFile, OnAFullDiskIsNotWhole) {
    LogFile log("/dev/full", 0);
    log.write(0, "lost");
    EXPECT_FALSE(log.close());
    EXPECT_FALSE(log.close());
}

TEST(LogFile, ThatCannotBeWrittenIsNamed) {
    try {
        const LogFile log("/nowhere/log", 0);
        ADD_FAILURE() << "opened";
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "/nowhere/log: cannot be written: No such file or directory");
    }
}

}  // namespace
