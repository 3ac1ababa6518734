// Files of comma-separated values: quoting, whole lines, a disk that is full.

#include "host/CsvFile.h"
#include "host/HostError.h"
#include "tests/host/Program.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

using host::CsvFile;
using host::csvQuoted;

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

TEST(CsvFile, CellsAreQuotedOnlyWhereTheyMust) {
    EXPECT_EQ(csvQuoted("12.5"), "12.5");
    EXPECT_EQ(csvQuoted("a b"), "a b");
    EXPECT_EQ(csvQuoted("a,b"), "\"a,b\"");
    EXPECT_EQ(csvQuoted("say \"no\""), "\"say \"\"no\"\"\"");
    EXPECT_EQ(csvQuoted("a\nb"), "\"a\nb\"");
}

TEST(CsvFile, ReplacesWhatTheFileHeldAndEndsLinesWithALineFeed) {
    const host_test::TempFile file("something older and longer\n");
    {
        CsvFile csv(file.path());
        csv.row({"time", "a", "b"});
        csv.row({"0.5", "", "3"});
    }
    EXPECT_EQ(contentOf(file.path()), "time,a,b\n0.5,,3\n");
}

TEST(CsvFile, FileWithoutALineKeepsWhatItHeld) {
    const host_test::TempFile file("an older recording\n");
    { CsvFile csv(file.path()); }
    EXPECT_EQ(contentOf(file.path()), "an older recording\n");
}

TEST(CsvFile, PipeWithoutAReaderThatReadsIsGivenUp) {
    const host_test::TempFile file("");
    std::remove(file.path().c_str());
    ASSERT_EQ(mkfifo(file.path().c_str(), 0600), 0);
    const int reader = open(file.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    CsvFile csv(file.path(), [] { return true; });
    try {
        csv.row({std::string(1U << 20U, 'x')});
        FAIL() << "no error";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.what(), file.path() + ": cannot be written: its reader stands still");
    }
    close(reader);
}

TEST(CsvFile, FileThatCannotBeOpenedIsNamed) {
    try {
        const CsvFile csv("/nowhere/values.csv");
        FAIL() << "no error";
    } catch (const host::HostError& error) {
        EXPECT_STREQ(error.what(), "/nowhere/values.csv: cannot be written: No such file or directory");
        EXPECT_EQ(error.code(), host::ExitCode::failed);
    }
}

TEST(CsvFile, FullDiskIsAnErrorAndLeavesWholeLines) {
    std::signal(SIGXFSZ, SIG_IGN);
    const host_test::TempFile file("");
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 10;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    CsvFile csv(file.path());
    csv.row({"12345"});
    csv.flush();
    csv.row({"67"});
    csv.row({"89"});
    try {
        csv.flush();
        FAIL() << "no error";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.what(), file.path() + ": cannot be written: File too large");
    }
    csv.row({"never"});
    csv.flush();
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(contentOf(file.path()), "12345\n67\n");
}

}  // namespace
