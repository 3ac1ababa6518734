#include "tests/fuzz/FuzzEcu.h"

#include "tests/fuzz/FuzzTarget.h"

#include <TalvexPlain.h>

#include <algorithm>
#include <atomic>

namespace fuzz {

namespace {

FuzzEcu* g_ecu = nullptr;
std::atomic<unsigned> g_sum{0};

void lookAt(const std::string& text) {
    FuzzEcu::look(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

void lookAt(const std::vector<std::uint8_t>& bytes) {
    FuzzEcu::look(bytes.data(), bytes.size());
}

/// XCP commands whose answer holds a number that the master runs through or waits for: event channels at
/// bytes 4 and 5, MIN_ST in 100 us at byte 5.
constexpr std::uint8_t kGetDaqProcessorInfo = 0xDA;
constexpr std::uint8_t kGetCommModeInfo = 0xFB;
constexpr std::uint8_t kProgramStart = 0xD2;

}  // namespace

/// What the library calls.
struct FuzzEcuCallbacks {
    static std::uint32_t send(std::uint8_t /*channel*/, std::uint32_t /*id*/, std::uint8_t /*flags*/,
                              std::uint8_t length, const std::uint8_t* data) {
        require(length <= 64, "a frame has at most 64 bytes");
        FuzzEcu::look(data, length);
        if (g_ecu != nullptr && length > 0) {
            g_ecu->answer(data, length);
        }
        return 1;
    }

    static void takeValues(const std::string& ecuName, std::int32_t /*kind*/,
                           const std::vector<mcMeasureVariableValue>& values,
                           const std::vector<std::string>& rejected) {
        lookAt(ecuName);
        for (const mcMeasureVariableValue& value : values) {
            lookAt(value.name);
            lookAt(value.data);
        }
        for (const std::string& name : rejected) {
            lookAt(name);
        }
    }

    static void takeDecoded(std::uint64_t /*hostTag*/, mcDecodeMsg message) {
        lookAt(message.name);
        lookAt(message.data);
        lookAt(message.errorText);
        for (const mcDecodeField& field : message.fields) {
            lookAt(field.text);
        }
    }

    static void takeMemory(std::uint32_t command, std::uint32_t result, std::vector<mcMemoryData> data) {
        const bool isPercent = command == 12 || command == 13;
        require(!isPercent || result <= 100, "progress is at most 100 percent");
        for (const mcMemoryData& range : data) {
            lookAt(range.data);
            lookAt(range.expected);
        }
    }

    static void takePlan(const EcuProtoCfg* cfg, const DaqFinishedNames* plan) {
        lookAt(cfg->ecuName);
        for (const auto& [event, lists] : *plan) {
            for (const auto& [list, names] : lists) {
                for (const std::string& name : names) {
                    lookAt(name);
                }
            }
        }
    }

    static void takeLog(std::uint32_t level, std::uint64_t /*timeMs*/, const std::string& text) {
        require(level <= 4, "a log line has a level of 0 to 4");
        lookAt(text);
    }

    static SeedKeyFun loadKeys(const char* /*path*/, const char* /*entry*/) {
        if (g_ecu == nullptr || g_ecu->m_input.oneIn(16)) {
            return {};
        }
        return [](std::uint8_t, std::uint8_t seedLength, std::uint8_t* seed, std::uint8_t* keyLength,
                  std::uint8_t* key) {
            FuzzEcu::look(seed, seedLength);
            return g_ecu != nullptr ? g_ecu->makeKey(keyLength, key) : 0;
        };
    }
};

FuzzEcu::FuzzEcu(FuzzInput& input, bool xcp) : m_input(input), m_xcp(xcp) {
    g_ecu = this;
}

FuzzEcu::~FuzzEcu() {
    g_ecu = nullptr;
}

CallBackFuns FuzzEcu::callBacks() {
    CallBackFuns table;
    table.measureFun = FuzzEcuCallbacks::takeValues;
    table.sndFun = FuzzEcuCallbacks::send;
    table.msgDecodeFun = FuzzEcuCallbacks::takeDecoded;
    table.memResultFun = FuzzEcuCallbacks::takeMemory;
    table.xcpSeedLibFun = FuzzEcuCallbacks::loadKeys;
    table.ccpSeedLibFun = FuzzEcuCallbacks::loadKeys;
    table.daqInfoFun = FuzzEcuCallbacks::takePlan;
    table.logFuns = {FuzzEcuCallbacks::takeLog};
    return table;
}

void FuzzEcu::look(const std::uint8_t* bytes, std::size_t count) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += bytes[i];
    }
    g_sum += sum;
}

void FuzzEcu::send(std::uint32_t id, std::vector<std::uint8_t> data) {
    recvCanMsg(7, 1000, kChannel, id, static_cast<std::uint16_t>(data.size()), data.data());
}

std::vector<std::uint8_t> FuzzEcu::anyBody(std::size_t least) {
    const std::size_t most = m_input.oneIn(8) ? 64 : 8;
    return m_input.bytes(least + m_input.below(static_cast<unsigned>(most + 1 - least)));
}

void FuzzEcu::sendDto() {
    send(m_input.oneIn(4) ? kDaqId : kSlaveId, anyBody(0));
}

void FuzzEcu::sendLastDtos() {
    send(kSlaveId, {0});
    send(kDaqId, {0});
}

/// Keeps the number small in an answer that has one: a large one takes long and shows nothing new.
void FuzzEcu::keepShort(std::uint8_t command, std::vector<std::uint8_t>& answer) const {
    answer.resize(std::max<std::size_t>(answer.size(), 8));
    if (command == kGetDaqProcessorInfo) {
        answer[m_bigEndian ? 4 : 5] = 0;
        answer[m_bigEndian ? 5 : 4] &= 7U;
    } else if (command == kGetCommModeInfo || command == kProgramStart) {
        answer[5] &= 1U;
    }
}

void FuzzEcu::sendPositive(const std::uint8_t* request) {
    std::vector<std::uint8_t> response = anyBody(m_xcp ? 1 : 3);
    response[0] = 0xFF;
    if (m_xcp) {
        keepShort(request[0], response);
    } else {
        response[1] = 0;
        response[2] = request[1];
    }
    send(kSlaveId, std::move(response));
}

void FuzzEcu::sendError(const std::uint8_t* request, std::uint8_t code) {
    if (m_xcp) {
        send(kSlaveId, {0xFE, code});
    } else {
        send(kSlaveId, {0xFF, code, request[1], 0, 0, 0, 0, 0});
    }
}

void FuzzEcu::answer(const std::uint8_t* request, std::uint8_t length) {
    std::vector<std::uint8_t> seen(request, request + length);
    seen.resize(8);
    if (m_input.isEmpty()) {
        sendError(seen.data(), m_xcp ? 0x31 : 0x33);
        return;
    }
    switch (m_input.below(32)) {
        case 31:  // silence
            return;
        case 30:  // an answer that is none, and then one
            send(m_input.oneIn(2) ? kSlaveId : kDaqId, anyBody(0));
            sendPositive(seen.data());
            return;
        case 29:  // busy, and then an answer
            sendError(seen.data(), 0x10);
            sendPositive(seen.data());
            return;
        case 28:
        case 27:
            sendError(seen.data(), m_input.u8());
            return;
        case 26:  // several at once
            sendPositive(seen.data());
            sendPositive(seen.data());
            sendPositive(seen.data());
            return;
        default:
            sendPositive(seen.data());
            return;
    }
}

/// The function is told how much room a key has, and an 8-bit length cannot name more than there is.
std::int32_t FuzzEcu::makeKey(std::uint8_t* keyLength, std::uint8_t* key) {
    const std::uint8_t told = *keyLength;
    *keyLength = m_input.u8();
    const std::vector<std::uint8_t> made = m_input.bytes(std::min(told, *keyLength));
    std::copy(made.begin(), made.end(), key);
    return m_input.oneIn(8) ? 0 : 1;
}

}  // namespace fuzz
