#include "host/SocketcandSession.h"

#include <algorithm>
#include <utility>

namespace host {

SocketcandSession::SocketcandSession(const std::vector<ServedBus>& buses, std::function<void()> hasFrames)
    : m_buses(buses), m_hasFrames(std::move(hasFrames)) {
    reply("< hi >");
}

SocketcandSession::~SocketcandSession() {
    if (m_hub != nullptr) {
        m_hub->leave(m_member);
    }
}

void SocketcandSession::read(std::string_view bytes, SocketClock::time_point now) {
    m_now = now;
    m_reader.read(bytes, [this](std::string_view content) {
        if (!m_finished) {
            runElement(content);
        }
    });
}

const std::vector<SocketcandSession::Verb>& SocketcandSession::verbs() {
    static const std::vector<Verb> table{
        {"open", &SocketcandSession::open},      {"rawmode", &SocketcandSession::rawMode},
        {"send", &SocketcandSession::sendFrame}, {"fdsend", &SocketcandSession::sendFrame},
        {"echo", &SocketcandSession::echo},
    };
    return table;
}

void SocketcandSession::runElement(std::string_view content) {
    const std::string_view word = content.substr(0, content.find(' '));
    const auto verb =
        std::find_if(verbs().begin(), verbs().end(), [word](const Verb& row) { return row.word == word; });
    if (verb == verbs().end()) {
        reply("< error unknown command >");
    } else {
        (this->*verb->run)(content);
    }
}

void SocketcandSession::open(std::string_view content) {
    const std::vector<std::string_view> words = socketcandWords(content);
    if (m_hub != nullptr) {
        reply("< error a bus is open already >");
        return;
    }
    const auto bus = std::find_if(m_buses.begin(), m_buses.end(), [&words](const ServedBus& served) {
        return words.size() == 2 &&
               std::find(served.names.begin(), served.names.end(), words[1]) != served.names.end();
    });
    if (bus == m_buses.end()) {
        reply("< error could not open bus >");
        m_finished = true;
        return;
    }
    m_hub = bus->hub;
    m_member = m_hub->join([this](const BusFrame& frame) { takeFrame(frame); });
    reply("< ok >");
}

void SocketcandSession::rawMode(std::string_view) {
    if (m_hub == nullptr) {
        reply("< error no bus is open >");
        return;
    }
    m_release = m_now + kHandshakePause;
    reply("< ok >");
    const std::lock_guard lock(m_mutex);
    m_raw = true;
}

/// Not every frame that a client can say is one that the bus can carry; such a frame costs it an error, not
/// the connection, since clients that know only `send` try CAN FD with it.
void SocketcandSession::sendFrame(std::string_view content) {
    const std::optional<sim::Frame> frame = readSendElement(content);
    if (m_hub == nullptr) {
        reply("< error no bus is open >");
    } else if (!frame) {
        reply("< error no frame that a bus could carry >");
    } else if (!m_hub->carries(*frame)) {
        reply("< error no CAN FD on this bus >");
    } else if (!m_hub->send(m_member, *frame)) {
        reply("< error the bus is down >");
        m_finished = true;
    }
}

void SocketcandSession::echo(std::string_view) {
    reply("< echo >");
}

void SocketcandSession::takeFrame(const BusFrame& frame) {
    const std::string text = frameElement(frame);
    {
        const std::lock_guard lock(m_mutex);
        if (!m_raw || m_overrun) {
            return;
        }
        m_overrun = m_frames.size() + text.size() > kMostUnread;
        m_frames += m_overrun ? std::string() : text;
    }
    m_hasFrames();
}

std::string SocketcandSession::take(SocketClock::time_point now) {
    std::string bytes = std::exchange(m_replies, {});
    if (m_release && now >= *m_release) {
        const std::lock_guard lock(m_mutex);
        bytes += m_frames;
        m_frames.clear();
    }
    return bytes;
}

std::optional<SocketClock::time_point> SocketcandSession::heldUntil() const {
    const std::lock_guard lock(m_mutex);
    return m_frames.empty() ? std::nullopt : m_release;
}

bool SocketcandSession::overrun() const {
    const std::lock_guard lock(m_mutex);
    return m_overrun;
}

}  // namespace host
