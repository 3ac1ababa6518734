// Pipes whose readers stand still.

#include "host/PatientWrite.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

namespace {

class PatientWrite : public ::testing::Test {
protected:
    PatientWrite() {
        std::signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(pipe(m_ends.data()), 0);
    }
    ~PatientWrite() override {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    int reader() const { return m_ends[0]; }
    int writer() const { return m_ends[1]; }

    const std::string m_large = std::string(1U << 20U, 'x');  // more than a pipe takes

private:
    std::array<int, 2> m_ends{-1, -1};
};

TEST_F(PatientWrite, GivesUpOnAReaderThatStandsStill) {
    const std::size_t written =
        host::writePatiently(writer(), m_large.data(), m_large.size(), [] { return true; });
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_LT(written, m_large.size());
    EXPECT_GT(written, 0U);
}

TEST_F(PatientWrite, ReaderThatReadsGetsAllOfIt) {
    std::size_t heard = 0;
    std::thread reading([&] {
        std::array<char, 4096> part{};
        while (heard < m_large.size()) {
            const ssize_t count = read(reader(), part.data(), part.size());
            if (count <= 0) {
                break;
            }
            heard += static_cast<std::size_t>(count);
        }
    });
    const std::size_t written =
        host::writePatiently(writer(), m_large.data(), m_large.size(), [] { return false; });
    reading.join();
    EXPECT_EQ(written, m_large.size());
    EXPECT_EQ(heard, m_large.size());
}

TEST_F(PatientWrite, ReaderThatIsGoneIsAnError) {
    std::array<int, 2> ends{-1, -1};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    EXPECT_EQ(host::writePatiently(ends[1], "x", 1, [] { return false; }), 0U);
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
}

}  // namespace
