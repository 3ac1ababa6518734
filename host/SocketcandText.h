/// @file
/// The stream of a socketcand connection: elements "< word argument ... >" in ASCII.
#pragma once

#include "host/CanBus.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// Longest content of an element, blanks included. The longest there is has 250 characters.
inline constexpr std::size_t kMostElement = 512;

/// Cuts a stream into its elements, wherever the segments of the connection begin and end. One thread at a
/// time.
class SocketcandReader {
public:
    /// Takes the content of an element: its words, without the angle brackets and the blanks inside them. An
    /// element that is too long comes as an empty one, which is none that anybody knows.
    using Taker = std::function<void(std::string_view content)>;

    /// Reads on, and calls @p taker with each element that is complete. What stands between elements is
    /// skipped; a '<' inside an element begins it anew.
    void read(std::string_view bytes, const Taker& taker);

private:
    void readByte(char byte, const Taker& taker);

    std::string m_content;  ///< never longer than kMostElement
    bool m_inside = false;
    bool m_tooLong = false;
};

/// The words of an element; empty data leaves two blanks, which are one separation.
[[nodiscard]] std::vector<std::string_view> socketcandWords(std::string_view content);

/// Reads "send ID LEN B B ..." or "fdsend ID FLAGS LEN B B ...".
/// @return nothing if it is neither, or not in order; a frame that comes back could be on a bus
[[nodiscard]] std::optional<sim::Frame> readSendElement(std::string_view content);

/// Reads "frame ID SEC.USEC HEX" or "fdframe ID FLAGS SEC.USEC HEX"; `own` stays false.
/// @return nothing if it is neither, or not in order
[[nodiscard]] std::optional<BusFrame> readFrameElement(std::string_view content);

/// What a client sends: "< send ... >" or "< fdsend ... >".
[[nodiscard]] std::string sendElement(const sim::Frame& frame);

/// What a server sends: "< frame ... >" or "< fdframe ... >" and a line feed, without which python-can loses
/// frames at the edges of what it receives.
[[nodiscard]] std::string frameElement(const BusFrame& frame);

}  // namespace host
