#include "decode/BasicDecode.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

namespace {

void assignData(std::vector<std::uint8_t>& bytes, const msgBuf& msg) {
    const std::size_t length = std::min<std::size_t>(msg.length, msg.data.size());
    bytes.assign(msg.data.data(), msg.data.data() + length);
}

void appendFields(std::vector<mcDecodeField>& fields, std::vector<mcDecodeField>& more) {
    fields.insert(fields.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace

void BasicDecode::deliver(const FrameFacts& facts, const msgBuf& msg, mcDecodeMsg& record,
                          std::vector<mcDecodeField>& fields) const {
    record.name.insert(0, facts.titlePrefix);
    record.command = facts.command;
    record.timestamp = msg.time;
    record.canId = msg.id;
    if (facts.withData) {
        assignData(record.data, msg);
    }
    appendFields(record.fields, fields);
    m_callBacks.msgDecodeFun(msg.hostTag, std::move(record));
}
