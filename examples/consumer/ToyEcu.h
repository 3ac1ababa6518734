// The bus of this example and the one ECU on it: a counter at address 0x1000 that another program of yours
// would find behind a CAN driver. It understands just enough of XCP to be connected to and read from.
#pragma once

#include <atomic>
#include <cstdint>

class ToyEcu {
public:
    static constexpr std::uint32_t kMasterId = 0x600;  // commands
    static constexpr std::uint32_t kSlaveId = 0x601;   // answers
    static constexpr std::uint32_t kCounterAddress = 0x1000;
    static constexpr std::uint32_t kCounterSize = 4;  // bytes, little endian

    // Takes a frame and answers it through recvCanMsg before it returns. Callable from any thread.
    void take(std::uint32_t id, std::uint8_t length, const std::uint8_t* data);

private:
    std::atomic<std::uint32_t> m_counter{0};  // goes up by one with each read
};
