/// @file
/// One client of a socketcand server, without its connection.
#pragma once

#include "host/BusHub.h"
#include "host/SocketcandText.h"
#include "host/TcpSocket.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A bus that a server offers.
struct ServedBus {
    std::vector<std::string> names;  ///< by each of which a client may open it; no two buses share one
    BusHub* hub = nullptr;           ///< outlives the server
};

/// How long frames are held back behind the last reply of the handshake. Clients take what they receive there
/// for the reply alone.
inline constexpr std::chrono::milliseconds kHandshakePause{50};

/// Frames for a client that does not read them, in bytes; above that the client is dropped.
inline constexpr std::size_t kMostUnread = 1U << 20U;

/// What a client says and gets: "< hi >", then "< open BUS >" and "< rawmode >", then frames. One thread at a
/// time, but for the frames of the bus, which come in on the thread of the bus.
class SocketcandSession {
public:
    /// @param buses     outlive the object
    /// @param hasFrames  is called on the thread of the bus when there is something new for take()
    SocketcandSession(const std::vector<ServedBus>& buses, std::function<void()> hasFrames);
    ~SocketcandSession();
    SocketcandSession(const SocketcandSession&) = delete;
    SocketcandSession& operator=(const SocketcandSession&) = delete;

    /// Takes what the client sent, and sends its frames to the bus.
    void read(std::string_view bytes, SocketClock::time_point now);

    /// Takes the bytes for the client: replies at once, frames when they may go.
    [[nodiscard]] std::string take(SocketClock::time_point now);

    /// When frames that are held back may go; nothing if none are.
    [[nodiscard]] std::optional<SocketClock::time_point> heldUntil() const;

    /// The connection is to be closed when all bytes are sent.
    [[nodiscard]] bool finished() const { return m_finished; }

    /// The client did not read: frames for it were lost.
    [[nodiscard]] bool overrun() const;

private:
    struct Verb {
        std::string_view word;
        void (SocketcandSession::*run)(std::string_view content);
    };
    static const std::vector<Verb>& verbs();

    void runElement(std::string_view content);
    void open(std::string_view content);
    void rawMode(std::string_view content);
    void sendFrame(std::string_view content);
    void echo(std::string_view content);
    void reply(std::string_view text) { m_replies += text; }
    void takeFrame(const BusFrame& frame);

    const std::vector<ServedBus>& m_buses;
    const std::function<void()> m_hasFrames;
    SocketcandReader m_reader;
    std::string m_replies;
    SocketClock::time_point m_now;  ///< of the last read()
    std::optional<SocketClock::time_point> m_release;
    BusHub* m_hub = nullptr;
    BusHub::Member m_member = 0;
    bool m_finished = false;

    mutable std::mutex m_mutex;  ///< guards all below; nothing else is locked while it is held
    std::string m_frames;
    bool m_raw = false;
    bool m_overrun = false;
};

}  // namespace host
