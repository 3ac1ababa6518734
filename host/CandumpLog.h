/// @file
/// Logs of CAN frames as text, as the program candump writes them: reading both of its forms, writing the
/// compact one (`candump -L`).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace host {

/// Most data bytes of a CAN FD frame.
inline constexpr std::size_t kMostFrameBytes = 64;

/// One frame of a log.
struct LoggedFrame {
    std::optional<std::int64_t> timeUs;  ///< microseconds as the log counts them; nothing if it has no times
    std::string interface;               ///< printable characters without blanks
    std::uint32_t id = 0;                ///< identifier without flag bits; of an error frame its reasons
    bool extended = false;               ///< identifier of 29 bits
    bool fd = false;
    bool rateSwitch = false;                           ///< CAN FD with a faster data phase
    bool remote = false;                               ///< a request for data; has none of its own
    bool error = false;                                ///< no frame of the bus but a report of the controller
    std::uint8_t length = 0;                           ///< valid bytes of `data`
    std::array<std::uint8_t, kMostFrameBytes> data{};  ///< zero behind `length`
};

/// A line that is no frame: what was found and what is allowed.
class CandumpError : public std::runtime_error {
public:
    /// @param found  quoted in the message, cut and without control characters
    CandumpError(const std::string& what, std::string_view found, const std::string& allowed);
};

/// Reads one line: "(seconds.fraction) interface ID#DATA", or "interface ID [length] DATA" with or without a
/// time, with what candump's options add to them: flags of CAN FD, direction, characters, dates.
/// @return nothing for a line that holds no frame: a blank one, or what candump writes below an error frame
/// @throws CandumpError for everything else
[[nodiscard]] std::optional<LoggedFrame> readCandumpLine(std::string_view line);

/// @p frame in the compact form, without a line feed; without a time it counts from 0.
[[nodiscard]] std::string candumpLine(const LoggedFrame& frame);

/// Writes a log, frame by frame. Any thread.
class CandumpWriter {
public:
    /// @param append  goes on behind what the file holds
    /// @throws std::system_error if @p file cannot be opened
    explicit CandumpWriter(const std::string& file, bool append = false);

    void write(const LoggedFrame& frame);

    /// Closes the file; nothing may be written any more. @return false if the file is not whole
    [[nodiscard]] bool close();

private:
    struct Closer {
        void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
    };

    std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::unique_ptr<std::FILE, Closer> m_file;
    bool m_whole = true;
};

}  // namespace host
