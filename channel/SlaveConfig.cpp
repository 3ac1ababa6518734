#include "channel/SlaveConfig.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {

constexpr std::uint32_t kIdMask = 0x1FFFFFFF;
constexpr std::uint32_t kExtended = 0x80000000;
constexpr std::uint32_t kBitRateSwitch = 0x40000000;
constexpr std::uint32_t kCanFd = 0x20000000;

std::uint8_t flag(bool value) {
    return value ? 1 : 0;
}

}  // namespace

void applySlaveConfig(EcuProtoCfg& cfg, const XcpCanChannelCfg& channel, const XcpSlaveCanCfg& can,
                      const XcpSlaveProtoCfg& proto) {
    cfg.canChannel = channel.canChannel;
    cfg.canIdMaster = can.masterId & kIdMask;
    cfg.canIdSlave = can.slaveId & kIdMask;
    cfg.canIdBroadcast = can.broadcastId;
    cfg.masterExtended = flag((can.masterId & kExtended) != 0);
    cfg.slaveExtended = flag((can.slaveId & kExtended) != 0);
    cfg.masterBrs = flag((can.masterId & kBitRateSwitch) != 0);
    cfg.slaveBrs = flag((can.slaveId & kBitRateSwitch) != 0);
    cfg.masterFd = flag((can.masterId & kCanFd) != 0);
    cfg.slaveFd = flag((can.slaveId & kCanFd) != 0);
    cfg.canSlaveOption = can.option;
    if (channel.timingSwitch != 0) {
        // Equal timings switch the bit rate switch on: what the records of hosts in use have come to mean.
        cfg.masterBrs = flag(std::equal(std::begin(channel.nominalTiming), std::end(channel.nominalTiming),
                                        std::begin(channel.dataTiming)));
    }
    cfg.xcp.t1 = proto.t1;
    cfg.xcp.t2 = proto.t2;
    cfg.xcp.t3 = proto.t3;
    cfg.xcp.t4 = proto.t4;
    cfg.xcp.t5 = proto.t5;
    cfg.xcp.t6 = proto.t6;
    cfg.xcp.t7 = proto.t7;
    cfg.xcp.byteOrder = proto.byteOrder;
    cfg.xcp.addressGranularity = proto.addressGranularity;
    cfg.xcp.retryCount = proto.retryCount;
    cfg.padFrames = proto.padFrames;
    cfg.padByte = proto.padByte;
}
