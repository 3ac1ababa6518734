// Frames between a hub and a bus outside.

#include "host/BusBridge.h"

#include "tests/host/BusTesting.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace {

using host::BusBridge;
using host::BusFrame;
using host_test::becomes;
using host_test::frameOf;

// A bus whose frames the test makes up.
class MadeUpBus : public host::CanBus {
public:
    explicit MadeUpBus(bool works) : m_works(works) {}
    bool send(const sim::Frame&) override { return m_works; }
    std::string failure() const override { return m_works ? "" : "down"; }

private:
    bool m_works;
};

class Bridge : public ::testing::Test {
protected:
    Bridge() { m_hub.connect(m_inside); }

    std::unique_ptr<BusBridge> bridgeTo(bool works) {
        return std::make_unique<BusBridge>(m_hub, [this, works](host::CanBus::Receiver receiver) {
            m_outside = std::move(receiver);
            return std::make_unique<MadeUpBus>(works);
        });
    }

    MadeUpBus m_inside{true};
    host::BusHub m_hub{false, 0};
    host::CanBus::Receiver m_outside;
};

TEST_F(Bridge, CountsFramesOfBothDirections) {
    const auto bridge = bridgeTo(true);
    m_outside(frameOf(0x123, {1}));
    EXPECT_EQ(bridge->counters().in, 1U);
    m_hub.take(frameOf(0x124, {1}));
    EXPECT_TRUE(becomes([&] { return bridge->counters().out == 1; }));
    EXPECT_EQ(bridge->counters().lost, 0U);
}

TEST_F(Bridge, OwnFramesOfTheBusOutsideDoNotComeBack) {
    const auto bridge = bridgeTo(true);
    BusFrame own = frameOf(0x123, {1});
    own.own = true;
    m_outside(own);
    EXPECT_EQ(bridge->counters().in, 0U);
}

TEST_F(Bridge, CanFdThatAClassicBusDoesNotCarryIsLost) {
    const auto bridge = bridgeTo(true);
    BusFrame fd = frameOf(0x123, {1});
    fd.frame.fd = true;
    m_outside(fd);
    EXPECT_EQ(bridge->counters().in, 0U);
    EXPECT_EQ(bridge->counters().lost, 1U);
}

TEST_F(Bridge, FrameForABusThatIsDownIsLost) {
    const auto bridge = bridgeTo(false);
    m_hub.take(frameOf(0x124, {1}));
    EXPECT_TRUE(becomes([&] { return bridge->counters().lost == 1; }));
    EXPECT_EQ(bridge->counters().out, 0U);
    EXPECT_EQ(bridge->failure(), "down");
}

}  // namespace
