/// @file
/// Every function of the channel interface that ends in a buffer, called in one way.
#pragma once

#include <TalvexChannel.h>

#include <cstdint>
#include <vector>

namespace channel_test {

/// Arguments by their width, each function takes those it needs in its own order.
struct Args {
    std::uint8_t b0 = 0;
    std::uint8_t b1 = 0;
    std::uint8_t b2 = 0;
    std::uint8_t b3 = 0;
    std::uint16_t w0 = 0;
    std::uint16_t w1 = 0;
    std::uint32_t l0 = 0;
    const std::uint8_t* data = nullptr;
    const XcpDaqEntry* entries = nullptr;
};

/// What stands around the arguments of every function.
struct Ends {
    std::uint32_t slave = 0;
    std::uint8_t* buffer = nullptr;
    std::uint16_t size = 0;
};

/// One function. `b0` is the count wherever there is one.
struct Function {
    const char* name;
    std::uint32_t (*call)(const Args& args, const Ends& ends);
};

/// All of them.
const std::vector<Function>& functions();

/// @return the function of that name, which must be there
const Function& functionOf(const char* name);

}  // namespace channel_test
