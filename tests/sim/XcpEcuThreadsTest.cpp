// The simulated XCP ECU between its bus thread and the threads of a test.
#include "tests/sim/XcpEcuTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

namespace sim::test {
namespace {

/// A port that any thread may use; its timers are run by the thread that plays the bus.
class SharedPort : public Port {
public:
    void send(const Frame&) override { ++m_sent; }
    [[nodiscard]] Time now() const override { return m_now; }
    TimerId at(Time when, std::function<void()> action) override {
        const std::lock_guard lock(m_mutex);
        return m_inner.at(when, std::move(action));
    }
    void cancel(TimerId timer) override {
        const std::lock_guard lock(m_mutex);
        m_inner.cancel(timer);
    }

    /// Bus thread: lets time pass and runs what is due, with no lock held meanwhile.
    void tick(Time step) {
        m_now += step;
        while (std::function<void()> action = takeDue()) {
            action();
        }
    }
    [[nodiscard]] int sent() const { return m_sent; }

private:
    std::function<void()> takeDue() {
        const std::lock_guard lock(m_mutex);
        return m_inner.takeDue(m_now);
    }

    std::mutex m_mutex;
    FakePort m_inner;
    std::atomic<Time> m_now{0};
    std::atomic<int> m_sent{0};
};

Frame commandOf(const std::string& text) {
    Frame frame;
    frame.id = 0x600;
    const std::vector<std::uint8_t> bytes = bytesOf(text);
    frame.length = static_cast<std::uint8_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), frame.data.begin());
    return frame;
}

TEST(XcpEcuThreads, MayReadWriteAndInjectWhileTheBusRuns) {
    XcpEcuConfig config = smallEcu();
    Signal counter;
    counter.address = 0x1000;
    config.signals = {counter};
    SharedPort port;
    XcpEcu ecu(config);
    ecu.powerOn(port);
    for (const char* command :
         {"ff 00", "d6", "d5 00 01 00", "d4 00 00 00 01", "d3 00 00 00 00 01", "e2 00 00 00 00 00",
          "e1 ff 04 00 00 10 00 00", "e0 00 00 00 00 00 01 00", "de 01 00 00"}) {
        ecu.onFrame(commandOf(command), 0);
    }
    std::atomic<bool> done{false};
    std::thread bus([&] {
        for (int i = 0; i < 300; ++i) {
            port.tick(10 * kMs);
            ecu.onFrame(commandOf("fc"), port.now());
        }
        done = true;
    });
    while (!done) {
        EXPECT_EQ(ecu.read(0x1000, 0, 4).size(), 4U);
        EXPECT_TRUE(ecu.write(0x1010, 0, bytesOf("01 02")));
        ecu.inject({.kind = EcuFaultKind::event, .code = 0x07});
        EXPECT_TRUE(ecu.connected() && ecu.daqRunning());
    }
    bus.join();
    EXPECT_EQ(ecu.counters().dtos, 300U);
    EXPECT_EQ(ecu.counters().commands[0xFC], 300U);
    EXPECT_GT(port.sent(), 600);
}

}  // namespace
}  // namespace sim::test
