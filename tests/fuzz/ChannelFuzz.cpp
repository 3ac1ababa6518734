// Any calls of the channel interface with any arguments against any answers. Its self-test is a script
// without arguments that runs for seconds, and not among them.
#include "channel/ChannelRegistry.h"
#include "tests/channel/ChannelCalls.h"
#include "tests/fuzz/FuzzEcu.h"
#include "tests/fuzz/FuzzTarget.h"

#include <TalvexSDK.h>

#include <array>
#include <cstring>
#include <string_view>

namespace {

using channel_test::Args;
using channel_test::Function;
using fuzz::FuzzInput;
using fuzz::require;

constexpr int kMostCalls = 40;
constexpr std::uint32_t kSuccess = 256;
constexpr std::uint32_t kBadHandle = 1280;
constexpr std::uint32_t kNoAnswer = 2304;

XcpSlaveCanCfg canCfg() {
    XcpSlaveCanCfg can{};
    can.masterId = fuzz::FuzzEcu::kMasterId;
    can.slaveId = fuzz::FuzzEcu::kSlaveId;
    return can;
}

XcpSlaveProtoCfg protoCfg(FuzzInput& input) {
    XcpSlaveProtoCfg proto{};
    proto.t1 = proto.t2 = proto.t3 = proto.t4 = proto.t5 = proto.t6 = proto.t7 = 1;
    proto.byteOrder = input.below(2);
    proto.addressGranularity = input.oneOf<std::uint8_t>({1, 1, 2, 4, 0, 3, 8, 63, 64, 65, 255});
    proto.retryCount = input.below(3);
    proto.padFrames = input.below(2);
    proto.padByte = input.u8();
    return proto;
}

/// One channel and the callbacks, for the life of the process.
std::uint16_t theChannel() {
    static const std::uint16_t channel = [] {
        const CallBackFuns table = fuzz::FuzzEcu::callBacks();
        setLogBackFuns(table.logFuns.front());
        setCallBackFuns(table);
        std::uint16_t made = 0;
        require(xcpInitializeCan(&made, XcpCanChannelCfg{}) == kSuccess, "a channel is made");
        return made;
    }();
    return channel;
}

/// A slave for one input.
class Slave {
public:
    explicit Slave(FuzzInput& input) : m_input(input) {
        require(xcpAddSlave(theChannel(), canCfg(), protoCfg(input), &m_handle) == kSuccess,
                "a slave is made");
    }
    Slave(const Slave&) = delete;
    Slave& operator=(const Slave&) = delete;
    ~Slave() {
        require(xcpRemoveSlave(m_handle) == kSuccess, "a slave is removed");
        require(xcpRemoveSlave(m_handle) == kBadHandle, "a slave is removed once");
    }

    /// One call, of whatever kind.
    void step() {
        switch (m_input.below(16)) {
            case 15:
                change();
                break;
            case 14:
                seedAndKey();
                break;
            case 13:
                revive();
                break;
            case 12:
                texts();
                break;
            default:
                call();
                break;
        }
    }

private:
    XCP_MOUDLE::XcpProtoTransmit& object() { return *channelRegistry().findSlave(m_handle); }

    /// What an ECU or a host may have brought about.
    void change() {
        EcuProtoCfg& cfg = object().m_cfg;
        cfg.maxCto = m_input.oneOf<std::uint8_t>({8, 8, 64, 0, 1, 2, 3, 7, 9, 17, 63, 65, 128, 255});
        cfg.maxDto = m_input.oneOf<std::uint16_t>({8, 64, 0, 1, 255, 65535});
        cfg.masterFd = m_input.below(2);
        cfg.xcp.useSlaveBlockMode = m_input.below(2);
    }

    /// A link that was lost comes back only if a channel has the slave's number, which is so for the first
    /// few.
    void revive() {
        const std::uint32_t status = xcpConfigSlave(m_handle, canCfg(), protoCfg(m_input));
        require(status == kSuccess || status == kBadHandle, "a slave is configured or not");
        object().m_linkLost = false;
    }

    void texts() {
        std::array<char, 128> text{};
        text.back() = '#';
        xcpGetErrorText(m_input.u16(), text.data());
        require(std::memchr(text.data(), 0, text.size() - 1) != nullptr, "a text has an end");
        require(xcpResetQueue(m_input.u32()) == kSuccess, "a queue that is not there is reset");
        require(xcpDequeuePacket(m_input.u32()) == kSuccess, "a queue that is not there gives nothing");
        const std::uint16_t other = m_input.u16();
        require(other == theChannel() || xcpUninitialize(other) == kBadHandle, "an unknown channel");
    }

    /// Bytes that a frame full of data takes.
    std::size_t roomOfMax() {
        const EcuProtoCfg& cfg = object().m_cfg;
        const int header = std::clamp<int>(cfg.xcp.addressGranularity, 1, 3);
        return static_cast<std::size_t>(std::max(std::min<int>(cfg.maxCto, 64) - header, 0));
    }

    static bool isStatus(std::uint32_t status) { return status <= kSuccess || status == kNoAnswer; }

    /// Pointers have as much behind them as the function is told of, and no more.
    void call() {
        const std::vector<Function>& all = channel_test::functions();
        const Function& function = all[m_input.below(static_cast<unsigned>(all.size()))];
        Args args;
        args.b0 = m_input.oneIn(4) ? m_input.u8() : m_input.below(9);
        args.b1 = m_input.u8();
        args.b2 = m_input.below(4);
        args.w0 = m_input.u16();
        args.l0 = m_input.oneIn(4) ? m_input.u32() : m_input.u8();
        const bool isMax = std::string_view(function.name).ends_with("Max");
        const fuzz::Bytes data = m_input.bytes(isMax ? roomOfMax() : args.b0);
        const std::vector<XcpDaqEntry> entries(args.b0, XcpDaqEntry{255, 4, 0, 0x1000});
        if (!m_input.oneIn(8)) {
            args.data = data.data();
            args.entries = entries.data();
        }
        fuzz::Bytes answer(m_input.oneOf<std::uint8_t>({64, 8, 0, 1, 63, 65, 255}), 0xAA);
        const auto size = static_cast<std::uint16_t>(answer.size());
        if (m_input.oneIn(32)) {
            require(function.call(args, {m_handle + 1, answer.data(), size}) == kBadHandle,
                    "an unknown handle");
            require(answer == fuzz::Bytes(size, 0xAA), "a buffer of an unknown handle is left alone");
            return;
        }
        const std::uint32_t status =
            function.call(args, {m_handle, m_input.oneIn(16) ? nullptr : answer.data(), size});
        require(isStatus(status), "a status is one of a few");
    }

    void seedAndKey() {
        fuzz::Bytes seed(255);
        std::uint8_t length = 0;
        require(isStatus(xcpGetSeedEx(m_handle, m_input.u8(), seed.data(), &length)), "a status");
        const fuzz::Bytes key = m_input.bytes(m_input.u8());
        const auto keyLength = static_cast<std::uint8_t>(key.size());
        require(isStatus(xcpUnlockEx(m_handle, keyLength, key.data())), "a status");
    }

    FuzzInput& m_input;
    std::uint32_t m_handle = 0;
};

}  // namespace

void fuzz::run(FuzzInput& input) {
    theChannel();
    const FuzzEcu ecu(input, true);
    Slave slave(input);
    for (int i = 0; i < kMostCalls && !input.isEmpty(); ++i) {
        slave.step();
    }
}

std::vector<fuzz::Bytes> fuzz::seeds() {
    std::vector<Bytes> made;
    const std::size_t count = channel_test::functions().size();
    for (std::size_t function = 0; function < count; ++function) {
        Bytes seed{0, 0, 0, 0, 0};
        for (std::uint8_t answer = 0; answer < 3; ++answer) {
            seed.insert(seed.end(), {0, static_cast<std::uint8_t>(function), 4, 1, 0, 0, 0, 1, 0, 9, 8, 7, 6,
                                     0, 0, 0, 0});
            seed.insert(seed.end(), {0, 0, 8, 1, 2, 3, 4, 5, 6, 7});
        }
        made.push_back(std::move(seed));
    }
    return made;
}

std::vector<fuzz::Bytes> fuzz::words() {
    return {{0x0F}, {0x0E}, {0x0D}, {31}, {30}, {29}, {28}, {0x00, 0xFE}, {0x03, 0xFF}, {0xFF, 0xFF}};
}
