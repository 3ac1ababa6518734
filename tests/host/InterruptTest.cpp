// Ctrl-C and requests to terminate.

#include "host/Interrupt.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace {

using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

TEST(Interrupts, FirstOneIsNoted) {
    for (const int number : {SIGINT, SIGTERM}) {
        EXPECT_EXIT(
            {
                host::watchInterrupts();
                const bool before = host::interrupted();
                std::raise(number);
                std::_Exit(!before && host::interrupted() ? 0 : 1);
            },
            ExitedWithCode(0), "");
    }
}

TEST(Interrupts, SecondOneEndsTheProcessWhicheverItIs) {
    for (const int first : {SIGINT, SIGTERM}) {
        for (const int second : {SIGINT, SIGTERM}) {
            EXPECT_EXIT(
                {
                    host::watchInterrupts();
                    std::raise(first);
                    std::raise(second);
                    std::_Exit(0);
                },
                KilledBySignal(second), "");
        }
    }
}

TEST(Interrupts, ClosedPipeIsNoSignal) {
    EXPECT_EXIT(
        {
            host::watchInterrupts();
            std::raise(SIGPIPE);
            std::_Exit(0);
        },
        ExitedWithCode(0), "");
}

}  // namespace
