// Any bytes from the other side of a socketcand connection: to a client, and to the session of a server.
#include "host/SocketcandSession.h"
#include "host/SocketcandText.h"
#include "sim/BitTiming.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <string_view>

namespace {

using Elements = std::vector<std::string>;

/// Frames of others in one input.
constexpr std::uint64_t kMostOthers = 64;

/// A bus that tells the hub of what was sent, as buses do.
class FuzzBus : public host::CanBus {
public:
    explicit FuzzBus(host::BusHub& hub, bool up) : m_hub(hub), m_up(up) {}

    bool send(const sim::Frame& frame) override {
        fuzz::require(sim::isSendable(frame), "a frame for the bus is one");
        fuzz::require(m_hub.carries(frame), "a frame for the bus is of its kind");
        if (m_up) {
            m_hub.take({frame, 0, true});
        }
        return m_up;
    }

    std::string failure() const override { return m_up ? "" : "down"; }

private:
    host::BusHub& m_hub;
    const bool m_up;
};

/// Calls @p take with the parts of @p text, which are one to 64 bytes long and as many as @p step says.
template <typename Take>
void inParts(std::string_view text, std::size_t step, Take take) {
    for (std::size_t at = 0; at < text.size(); at += step) {
        take(text.substr(at, step));
    }
}

Elements elementsOf(std::string_view stream, std::size_t step) {
    Elements elements;
    host::SocketcandReader reader;
    inParts(stream, step, [&](std::string_view part) {
        reader.read(part, [&](std::string_view content) { elements.emplace_back(content); });
    });
    return elements;
}

void checkFrame(const sim::Frame& frame) {
    fuzz::require(sim::isSendable(frame), "a frame that was read could be on a bus");
    fuzz::require(std::all_of(frame.data.begin() + frame.length, frame.data.end(),
                              [](std::uint8_t byte) { return byte == 0; }),
                  "the bytes behind a frame are zero");
}

bool isSame(const sim::Frame& one, const sim::Frame& other) {
    return one.id == other.id && one.extended == other.extended && one.fd == other.fd &&
           one.brs == other.brs && one.length == other.length && one.data == other.data;
}

/// What was read is written so that the other side reads the same.
void checkElement(const std::string& element) {
    fuzz::require(element.size() <= host::kMostElement, "an element has a limit");
    fuzz::require(element.find_first_of("<>") == std::string::npos, "an element ends at its brackets");
    for (const std::string_view word : host::socketcandWords(element)) {
        fuzz::require(!word.empty() && word.find(' ') == std::string_view::npos, "words have no blanks");
    }
    if (const std::optional<host::BusFrame> read = host::readFrameElement(element)) {
        checkFrame(read->frame);
        const Elements again = elementsOf(host::frameElement(*read), 64);
        fuzz::require(again.size() == 1, "a frame is one element");
        const std::optional<host::BusFrame> same = host::readFrameElement(again.front());
        fuzz::require(same && same->timeUs == read->timeUs && isSame(same->frame, read->frame),
                      "a frame of a server is read again");
    }
    if (const std::optional<sim::Frame> read = host::readSendElement(element)) {
        checkFrame(*read);
        const Elements again = elementsOf(host::sendElement(*read), 64);
        fuzz::require(again.size() == 1, "a frame is one element");
        const std::optional<sim::Frame> same = host::readSendElement(again.front());
        fuzz::require(same && isSame(*same, *read), "a frame of a client is read again");
    }
}

void runClient(const std::string& stream, std::size_t step) {
    const Elements elements = elementsOf(stream, step);
    fuzz::require(elements == elementsOf(stream, std::max<std::size_t>(stream.size(), 1)),
                  "elements are the same wherever the parts end");
    for (const std::string& element : elements) {
        checkElement(element);
    }
}

/// What a session says besides frames.
bool isReply(const std::string& element) {
    return element == "hi" || element == "ok" || element == "echo" || element.starts_with("error ");
}

/// A frame of somebody else on the bus.
host::BusFrame otherFrame(std::uint64_t number) {
    host::BusFrame frame;
    frame.frame.id = 0x123;
    frame.frame.length = 1;
    frame.frame.data[0] = 7;
    frame.timeUs = number;
    return frame;
}

/// Says @p stream to a session, with up to @p others frames of others between its parts, and checks what it
/// gives.
void runServer(const std::string& stream, std::size_t step, std::size_t others, bool fd, bool up) {
    host::BusHub hub(fd, 5);
    FuzzBus bus(hub, up);
    hub.connect(bus);
    const std::vector<host::ServedBus> buses{{{"powertrain", "can0"}, &hub}};
    host::SocketcandSession session(buses, [] {});
    host::SocketClock::time_point now{};
    std::string said = session.take(now);
    std::uint64_t sent = 0;
    inParts(stream, step, [&](std::string_view part) {
        session.read(part, now);
        for (std::size_t i = 0; i < others && sent < kMostOthers; ++i) {
            hub.take(otherFrame(++sent));
        }
        said += session.take(now);
        now += host::kHandshakePause / 4;
    });
    now += host::kHandshakePause;
    said += session.take(now);
    std::uint64_t got = 0;
    for (const std::string& element : elementsOf(said, said.size())) {
        const bool frame = host::readFrameElement(element).has_value();
        got += frame ? 1U : 0U;
        fuzz::require(frame || isReply(element), "a session says what clients know");
    }
    fuzz::require(got <= sent, "a client does not get its own frames");
    fuzz::require(session.take(now).empty() && !session.heldUntil(), "nothing is said twice");
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    const std::uint8_t flags = input.u8();
    const std::size_t step = input.below(64) + std::size_t{1};
    const std::size_t others = input.below(4);
    const std::string stream = input.rest();
    if ((flags & 1U) == 0) {
        runClient(stream, step);
    } else {
        runServer(stream, step, others, (flags & 2U) != 0, (flags & 4U) == 0);
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    // Who reads, how long the parts are, and frames of others between them.
    return {
        bytesOf("@P@< hi >< ok >< ok >< frame 601 1795279822.270535 FF05 >\n< fdframe 18DA0001 1 "
                "23.424242  >\n< error no such bus >< frame 7FF 0.5 >"),
        bytesOf("AGA< open powertrain >< rawmode >< send 600 2 FF 0 >< send 18DA0001 0 >< fdsend 640 1 9 0 "
                "1 2 3 4 5 6 7 8 >< echo >< statistics 100 >< send 800 1 0 >"),
        bytesOf("CGA< open can0 >< rawmode >< fdsend 640 1 9 0 1 2 3 4 5 6 7 8 >"),
        bytesOf("EGA< open can0 >< rawmode >< send 600 1 FF >< send 600 1 FF >"),
        bytesOf("A@A< rawmode >< send 1 1 1 >< open nowhere >< open can0 >")};
}

std::vector<fuzz::Bytes> fuzz::words() {
    std::vector<Bytes> made;
    for (const char* word : {"< open powertrain >",
                             "< open can0 >",
                             "< rawmode >",
                             "< bcmmode >",
                             "< echo >",
                             "< send 600 1 FF >",
                             "< fdsend 640 1 1 FF >",
                             "< frame 601 1795279822.270535 FF00 >",
                             "< fdframe 641 1 1795279822.270535 FF00 >",
                             "< error ",
                             "< hi >",
                             "< ok >",
                             " >\n",
                             "< ",
                             "<",
                             ">",
                             "1FFFFFFF",
                             "FFFFFFFF",
                             "1000000000000.000000",
                             "18446744073709551615",
                             "0.0000001",
                             "64 ",
                             "  "}) {
        made.push_back(bytesOf(word));
    }
    made.push_back(Bytes(host::kMostElement + 1, 'A'));
    return made;
}
