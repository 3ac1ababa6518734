// What passes between the host and the kernel, and what is said where there is no CAN.

#include "host/SocketCanFrames.h"

#include "host/HostError.h"
#include "host/SocketCanBus.h"
#include "tests/host/BusTesting.h"

#include <gmock/gmock.h>

#include <linux/can/error.h>
#include <linux/can/raw.h>

#include <array>
#include <cstring>
#include <ctime>

namespace {

using host::frameOfKernel;
using host::kernelFrame;
using ::testing::HasSubstr;

// Control messages as recvmsg() leaves them.
class Control {
public:
    template <class Value>
    void add(int level, int type, const Value& value) {
        cmsghdr header{};
        header.cmsg_level = level;
        header.cmsg_type = type;
        header.cmsg_len = CMSG_LEN(sizeof value);
        std::memcpy(m_bytes.data() + m_size, &header, sizeof header);
        std::memcpy(m_bytes.data() + m_size + CMSG_LEN(0), &value, sizeof value);
        m_size += CMSG_SPACE(sizeof value);
    }

    host::KernelNote read() {
        msghdr message{};
        message.msg_control = m_bytes.data();
        message.msg_controllen = m_size;
        return host::noteOfKernel(message);
    }

private:
    alignas(cmsghdr) std::array<char, 256> m_bytes{};
    std::size_t m_size = 0;
};

TEST(SocketCanFrames, ClassicFrameGoesBothWays) {
    const sim::Frame frame = host_test::frameOf(0x18DA0001, {1, 2, 3}).frame;
    std::size_t size = 0;
    const canfd_frame kernel = kernelFrame(frame, size);
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(kernel.can_id, 0x98DA0001U);
    EXPECT_EQ(kernel.len, 3);
    EXPECT_EQ(kernel.flags, 0);
    EXPECT_EQ(kernel.data[2], 3);
    const auto back = frameOfKernel(kernel, size);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->extended);
    EXPECT_FALSE(back->fd);
    EXPECT_EQ(host_test::textOf({*back, 0, false}), "18DA0001#010203");
}

TEST(SocketCanFrames, CanFdFrameKeepsItsRateSwitch) {
    sim::Frame frame;
    frame.id = 0x7FF;
    frame.fd = frame.brs = true;
    frame.length = 64;
    frame.data[63] = 9;
    std::size_t size = 0;
    const canfd_frame kernel = kernelFrame(frame, size);
    EXPECT_EQ(size, 72U);
    EXPECT_EQ(kernel.can_id, 0x7FFU);
    EXPECT_NE(kernel.flags & CANFD_BRS, 0);
    const auto back = frameOfKernel(kernel, size);
    ASSERT_TRUE(back);
    EXPECT_TRUE(back->fd && back->brs);
    EXPECT_EQ(back->length, 64);
    EXPECT_EQ(back->data[63], 9);
}

TEST(SocketCanFrames, LengthsBeyondTheRecordAreCut) {
    canfd_frame kernel{};
    kernel.len = 255;
    EXPECT_EQ(frameOfKernel(kernel, CAN_MTU)->length, 8);
    EXPECT_EQ(frameOfKernel(kernel, CANFD_MTU)->length, 64);
    sim::Frame frame;
    frame.length = 255;
    std::size_t size = 0;
    EXPECT_EQ(kernelFrame(frame, size).len, 8);
    frame.fd = true;
    EXPECT_EQ(kernelFrame(frame, size).len, 64);
}

TEST(SocketCanFrames, WhatIsNoDataFrameGivesNothing) {
    canfd_frame kernel{};
    EXPECT_FALSE(frameOfKernel(kernel, 0));
    EXPECT_FALSE(frameOfKernel(kernel, 15));
    kernel.can_id = CAN_RTR_FLAG | 0x123U;
    EXPECT_FALSE(frameOfKernel(kernel, CAN_MTU));
    kernel.can_id = CAN_ERR_FLAG | CAN_ERR_BUSOFF;
    EXPECT_FALSE(frameOfKernel(kernel, CAN_MTU));
}

TEST(SocketCanFrames, BusOffIsTold) {
    canfd_frame kernel{};
    kernel.can_id = CAN_ERR_FLAG | CAN_ERR_BUSOFF;
    EXPECT_TRUE(host::isBusOff(kernel, CAN_MTU));
    kernel.can_id = CAN_ERR_FLAG | CAN_ERR_CRTL;
    EXPECT_FALSE(host::isBusOff(kernel, CAN_MTU));
    kernel.can_id = CAN_ERR_BUSOFF;
    EXPECT_FALSE(host::isBusOff(kernel, CAN_MTU));
}

TEST(SocketCanControl, TimeAndOverflowsAreRead) {
    Control control;
    control.add(SOL_SOCKET, SO_TIMESTAMPNS, timespec{1'700'000'000, 123'456'789});
    control.add(SOL_SOCKET, SO_RXQ_OVFL, std::uint32_t{17});
    const host::KernelNote note = control.read();
    EXPECT_EQ(note.timeUs, 1'700'000'000'123'456U);
    EXPECT_EQ(note.overflows, 17U);
}

TEST(SocketCanControl, OtherMessagesSayNothing) {
    Control control;
    control.add(SOL_CAN_RAW, SO_TIMESTAMPNS, timespec{1, 1});
    control.add(SOL_SOCKET, SO_TIMESTAMP, std::uint64_t{5});
    control.add(SOL_SOCKET, SO_TIMESTAMPNS, std::uint32_t{5});
    const host::KernelNote note = control.read();
    EXPECT_FALSE(note.timeUs);
    EXPECT_FALSE(note.overflows);
    EXPECT_FALSE(Control().read().timeUs);
}

TEST(SocketCanFilters, EachIdentifierOnceWithItsWidth) {
    const auto filters = host::kernelFilters({{0x601, false}, {0x601, false}, {0x601, true}});
    ASSERT_EQ(filters.size(), 2U);
    EXPECT_EQ(filters[0].can_id, 0x601U);
    EXPECT_EQ(filters[0].can_mask, 0xC00007FFU);
    EXPECT_EQ(filters[1].can_id, 0x80000601U);
    EXPECT_EQ(filters[1].can_mask, 0xDFFFFFFFU);
}

TEST(SocketCanBus, MissingInterfaceOrKernelIsNamedWithTheFix) {
    host::SocketCanOptions options;
    options.interface = "nosuchcan";
    try {
        const host::SocketCanBus bus(options, [](const host::BusFrame&) {});
        ADD_FAILURE() << "opened";
    } catch (const host::HostError& error) {
        EXPECT_EQ(error.code(), host::ExitCode::bus);
        EXPECT_THAT(error.what(),
                    ::testing::AnyOf(HasSubstr("socketcan:nosuchcan: there is no such interface; "
                                               "`ip link` lists what there is"),
                                     HasSubstr("socketcan:nosuchcan: this kernel has no CAN (")));
    }
}

}  // namespace
