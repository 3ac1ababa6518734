// Colours: on a terminal, unless NO_COLOR is set or nobody asked for them.

#include "host/Output.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

using host::Colour;
using host::Output;

// A terminal of its own, as a stream.
class Colours : public testing::Test {
protected:
    Colours() {
        int terminal = -1;
        if (openpty(&m_reader, &terminal, nullptr, nullptr, nullptr) == 0) {
            m_terminal = fdopen(terminal, "w");
        }
    }
    ~Colours() override {
        if (m_terminal != nullptr) {
            std::fclose(m_terminal);
            close(m_reader);
        }
    }

    void SetUp() override {
        ASSERT_NE(m_terminal, nullptr);
        unsetenv("NO_COLOR");
    }

    std::FILE* m_terminal = nullptr;

private:
    int m_reader = -1;
};

TEST_F(Colours, AreUsedOnATerminal) {
    EXPECT_EQ(Output(m_terminal, true).paint(Colour::bad, "no"), "\033[31mno\033[0m");
    EXPECT_EQ(Output(m_terminal, true).paint(Colour::none, "no"), "no");
}

TEST_F(Colours, AreNotUsedWithNoColor) {
    ASSERT_EQ(setenv("NO_COLOR", "1", 1), 0);
    EXPECT_EQ(Output(m_terminal, true).paint(Colour::bad, "no"), "no");
}

TEST_F(Colours, AreUsedWithAnEmptyNoColor) {
    ASSERT_EQ(setenv("NO_COLOR", "", 1), 0);
    EXPECT_EQ(Output(m_terminal, true).paint(Colour::good, "yes"), "\033[32myes\033[0m");
}

TEST_F(Colours, AreNotUsedUnlessAskedForOrInAFile) {
    EXPECT_EQ(Output(m_terminal, false).paint(Colour::bad, "no"), "no");
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(Output(file, true).paint(Colour::bad, "no"), "no");
    std::fclose(file);
}

}  // namespace
