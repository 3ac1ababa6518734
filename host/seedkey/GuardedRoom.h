/// @file
/// Room for a key with a wall behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace seedkey {

/// Memory that ends where no memory is: whoever writes behind it ends the process, with a message and the
/// status of a bad key, instead of spoiling what lies there. One at a time, because signal handlers carry no
/// context.
class GuardedRoom {
public:
    /// Zeros. @param size  bytes, at least 1
    /// @param message  the line that is written to standard error when the wall is hit, line end included
    /// @throws std::bad_alloc if there is no memory
    GuardedRoom(std::size_t size, std::string message);
    ~GuardedRoom();
    GuardedRoom(const GuardedRoom&) = delete;
    GuardedRoom& operator=(const GuardedRoom&) = delete;

    [[nodiscard]] std::uint8_t* data() const { return m_wall - m_size; }
    [[nodiscard]] std::size_t size() const { return m_size; }

private:
    const std::size_t m_size;
    const std::string m_message;
    std::size_t m_mapped = 0;        ///< bytes, the wall included
    std::uint8_t* m_base = nullptr;  ///< of what is mapped
    std::uint8_t* m_wall = nullptr;
};

}  // namespace seedkey
