#include "host/FrameDecoder.h"

#include "host/FrameNames.h"

#include <fmt/format.h>

#include <utility>

namespace host {
namespace {

using namespace talvex_interface;

// First bytes of what an ECU sends. Below them is measured data.
constexpr std::uint8_t kXcpError = 0xFE;
constexpr std::uint8_t kXcpEvent = 0xFD;
constexpr std::uint8_t kXcpService = 0xFC;
constexpr std::uint8_t kCcpEvent = 0xFE;

/// First bytes below it are no XCP commands but data for the ECU.
constexpr std::uint8_t kLeastXcpCommand = 0xC0;

/// Is answered by an error frame.
constexpr std::uint8_t kXcpSynch = 0xFC;

msgBuf message(const LoggedFrame& frame) {
    msgBuf msg;
    msg.id = frame.id;
    msg.time = static_cast<std::uint64_t>(frame.timeUs.value_or(0));
    msg.length = frame.length;
    msg.data = frame.data;
    return msg;
}

/// A byte as the library's fields show it.
mcDecodeField byteField(const std::string& label, std::uint8_t value) {
    return {label, fmt::format("0x{:X}", value), value, false};
}

void append(std::vector<mcDecodeField>& fields, std::vector<mcDecodeField> more) {
    fields.insert(fields.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// "RES GET_SEED", "ERR GET_SEED", or what stands there for an answer that nobody waits for.
void entitle(DecodedFrame& decoded) {
    decoded.title = fmt::format("{} {}", decoded.kind == FrameKind::error ? "ERR" : "RES",
                                decoded.unexpected() ? "(no command)" : decoded.command);
}

}  // namespace

std::string kindText(FrameKind kind) {
    switch (kind) {
        case FrameKind::command:
            return "command";
        case FrameKind::stim:
            return "stim";
        case FrameKind::response:
            return "response";
        case FrameKind::error:
            return "error";
        case FrameKind::event:
            return "event";
        case FrameKind::service:
            return "service";
        default:
            return "daq";
    }
}

FrameDecoder::FrameDecoder(std::vector<IdPair> pairs) : m_pairs(std::move(pairs)) {}

CommandMatcher& FrameDecoder::matcher(const std::string& interface, std::size_t pair) {
    return m_matchers.try_emplace({interface, pair}, m_pairs[pair].protocol).first->second;
}

std::optional<DecodedFrame> FrameDecoder::decode(const LoggedFrame& frame) {
    if (frame.error || frame.remote || frame.length == 0) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < m_pairs.size(); ++i) {
        const IdPair& pair = m_pairs[i];
        if (pair.extended != frame.extended || (pair.commandId != frame.id && pair.responseId != frame.id)) {
            continue;
        }
        DecodedFrame decoded;
        decoded.pair = i;
        if (pair.commandId == frame.id) {
            decodeCommand(frame, decoded);
        } else if (pair.protocol == Protocol::xcp) {
            decodeXcpPacket(frame, decoded);
        } else {
            decodeCcpPacket(frame, decoded);
        }
        return decoded;
    }
    return std::nullopt;
}

void FrameDecoder::decodeCommand(const LoggedFrame& frame, DecodedFrame& decoded) {
    const IdPair& pair = m_pairs[decoded.pair];
    const SentCommand command{frame.data[0], frame.data[1], frame.timeUs};
    if (pair.protocol == Protocol::xcp && command.code < kLeastXcpCommand) {
        decoded.kind = FrameKind::stim;
        decoded.title = "STIM";
        return;
    }
    if (pair.protocol == Protocol::ccp) {
        decoded.fields.push_back(byteField("CTR", frame.data[1]));
        append(decoded.fields, ccpSendMsgAnalyse(message(frame), pair.bigEndian));
    } else {
        decoded.fields = xcpSendMsgAnalyse(message(frame), pair.bigEndian);
    }
    decoded.command = commandTitle(pair.protocol, command.code, command.subCode);
    decoded.title = "CTO " + decoded.command;
    if (const auto continued = matcher(frame.interface, decoded.pair).sent(command, frame.data[1])) {
        decoded.continued = commandTitle(pair.protocol, *continued, 0);
    }
}

std::optional<MatchedAnswer> FrameDecoder::match(const LoggedFrame& frame, DecodedFrame& decoded) {
    const bool positive = decoded.kind == FrameKind::response;
    const auto answer = matcher(frame.interface, decoded.pair).answered(frame.data[2], positive);
    if (answer) {
        decoded.command =
            commandTitle(m_pairs[decoded.pair].protocol, answer->command.code, answer->command.subCode);
        decoded.furtherPart = answer->furtherPart;
        if (frame.timeUs && answer->command.timeUs && !answer->furtherPart) {
            decoded.responseUs = *frame.timeUs - *answer->command.timeUs;
        }
    }
    return answer;
}

void FrameDecoder::decodeXcpPacket(const LoggedFrame& frame, DecodedFrame& decoded) {
    const bool bigEndian = m_pairs[decoded.pair].bigEndian;
    const std::uint8_t first = frame.data[0];
    if (first == kXcpEvent) {
        decoded.kind = FrameKind::event;
        decoded.title = "Event " + eventTitle(frame.data[1]);
        decoded.fields = xcpEventMsgAnalyse(message(frame), bigEndian);
        return;
    }
    if (first <= kXcpService) {
        decoded.kind = first == kXcpService ? FrameKind::service : FrameKind::daq;
        decoded.title = first == kXcpService ? "SERV" : "DAQ";
        return;
    }
    decoded.kind = first == kXcpError ? FrameKind::error : FrameKind::response;
    const std::optional<MatchedAnswer> answer = match(frame, decoded);
    if (answer || first == kXcpError) {
        const std::uint8_t code = answer ? answer->command.code : std::uint8_t{0};
        decoded.fields = xcpRecvMsgAnalyse(code, message(frame), bigEndian);
    }
    if (first == kXcpError) {
        decoded.status = frame.data[1];
        if (answer && answer->command.code == kXcpSynch) {
            decoded.kind = FrameKind::response;
        } else {
            decoded.statusText = decoded.fields.front().text;
        }
    }
    entitle(decoded);
}

void FrameDecoder::decodeCcpPacket(const LoggedFrame& frame, DecodedFrame& decoded) {
    const std::uint8_t first = frame.data[0];
    if (first < kCcpEvent) {
        decoded.kind = FrameKind::daq;
        decoded.title = "DAQ";
        return;
    }
    const std::uint8_t code = frame.data[1];
    decoded.status = code;
    decoded.fields.push_back({"Code", returnCodeText(code), code, false});
    if (first == kCcpEvent) {
        decoded.kind = FrameKind::event;
        decoded.title = "Event " + returnCodeText(code);
        return;
    }
    decoded.fields.push_back(byteField("Ctr", frame.data[2]));
    decoded.kind = code == 0 ? FrameKind::response : FrameKind::error;
    decoded.statusText = code == 0 ? std::string() : returnCodeText(code);
    if (const std::optional<MatchedAnswer> answer = match(frame, decoded)) {
        append(decoded.fields,
               ccpRecvMsgAnalyse(answer->command.code, message(frame), m_pairs[decoded.pair].bigEndian));
    }
    entitle(decoded);
}

}  // namespace host
