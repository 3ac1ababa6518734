// Any frame through the six exported analysers.
#include "decode/CcpTables.h"
#include "decode/XcpTables.h"
#include "tests/fuzz/FuzzTarget.h"

#include <TalvexAnalyse.h>

#include <algorithm>

namespace {

using Fields = std::vector<mcDecodeField>;

/// The codes that a table has a row for.
fuzz::Bytes codesOf(const trace_view::FrameTable& table) {
    fuzz::Bytes codes;
    for (unsigned code = 0; code < 256; ++code) {
        if (!table[static_cast<std::uint8_t>(code)].fields.empty()) {
            codes.push_back(static_cast<std::uint8_t>(code));
        }
    }
    return codes;
}

bool isPlain(const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

void checkFields(const Fields& fields) {
    for (const mcDecodeField& field : fields) {
        fuzz::require(!field.label.empty() && isPlain(field.label), "a field has a label");
        fuzz::require(field.text.size() <= 512 && isPlain(field.text),
                      "a field has a text that can be shown");
    }
}

Fields analyse(std::uint8_t which, std::uint8_t command, const msgBuf& msg, bool swap) {
    switch (which) {
        case 0:
            return talvex_interface::ccpSendMsgAnalyse(msg, swap);
        case 1:
            return talvex_interface::ccpRecvMsgAnalyse(command, msg, swap);
        case 2:
            return talvex_interface::xcpSendMsgAnalyse(msg, swap);
        case 3:
            return talvex_interface::xcpRecvMsgAnalyse(command, msg, swap);
        default:
            return talvex_interface::xcpEventMsgAnalyse(msg, swap);
    }
}

}  // namespace

void fuzz::run(FuzzInput& input) {
    const std::uint8_t which = input.below(6);
    const std::uint8_t flags = input.u8();
    const std::uint8_t command = input.u8();
    if (which == 5) {
        const std::string name = talvex_interface::getCommandName(command, input.u8(), (flags & 1U) != 0);
        require(name.size() <= 27 && isPlain(name), "a command has a short name");
        return;
    }
    msgBuf msg;
    // One input in four claims a length that it does not have.
    const std::uint16_t claimed = (flags & 6U) == 6U ? input.u16() : std::uint16_t{0};
    const std::size_t count = std::min(input.left(), msg.data.size());
    msg.length = claimed != 0 ? claimed : static_cast<std::uint16_t>(count);
    std::ranges::copy(input.bytes(count), msg.data.begin());
    const Fields fields = analyse(which, command, msg, (flags & 1U) != 0);
    checkFields(fields);
    require(fields.size() == analyse(which, command, msg, (flags & 1U) == 0).size(),
            "the byte order leaves the number of fields");
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    const Bytes tail{0x01, 0x02, 0x10, 0x20, 0x30, 0x40, 0x00};
    std::vector<Bytes> made;
    const auto add = [&](std::uint8_t which, std::uint8_t command, std::uint8_t first, std::uint8_t second) {
        Bytes seed{which, 0, command, first, second};
        seed.insert(seed.end(), tail.begin(), tail.end());
        made.push_back(std::move(seed));
    };
    for (const std::uint8_t code : codesOf(trace_view::ccp::commandTable)) {
        add(0, 0, code, 7);
        add(1, code, 0xFF, 0);
    }
    for (const std::uint8_t code : codesOf(trace_view::xcp::commandTable)) {
        add(2, 0, code, 1);
        add(3, code, 0xFF, 1);
    }
    for (const std::uint8_t code : codesOf(trace_view::xcp::eventTable)) {
        add(4, 0, 0xFD, code);
    }
    add(3, 0xF5, 0xFE, 0x21);
    add(5, 0xC0, 1, 0);
    return made;
}

std::vector<fuzz::Bytes> fuzz::words() {
    std::vector<Bytes> made;
    for (const trace_view::FrameTable* table :
         {&trace_view::ccp::commandTable, &trace_view::xcp::commandTable, &trace_view::xcp::eventTable}) {
        for (const std::uint8_t code : codesOf(*table)) {
            made.push_back({code});
        }
    }
    made.push_back({0xFF, 0xFF});
    return made;
}
