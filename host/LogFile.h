/// @file
/// The library's log as a file.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

namespace host {

/// Writes lines "seconds since the start, level, text". Any thread.
class LogFile {
public:
    /// @param leastLevel  0 frames, 1 results, 2 progress, 3 warnings, 4 errors; what is below is left out
    /// @param append  goes on behind what the file holds
    /// @throws std::system_error if @p file cannot be opened
    LogFile(const std::string& file, std::uint32_t leastLevel, bool append = false);

    /// Adds a line, which is in the file when the function returns.
    void write(std::uint32_t level, const std::string& text);

    /// Closes the file; nothing is written any more. @return false if the file is not whole
    [[nodiscard]] bool close();

private:
    struct Closer {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    const std::uint32_t m_leastLevel;
    std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::unique_ptr<std::FILE, Closer> m_file;
    bool m_whole = true;
};

}  // namespace host
