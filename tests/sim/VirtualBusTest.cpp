#include "sim/VirtualBus.h"

#include "sim/BusPort.h"
#include "tests/sim/BusTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace sim {
namespace {

constexpr std::chrono::milliseconds kShort{1};

VirtualBusConfig fast(Time limit = kNever) {
    VirtualBusConfig config;
    config.rates = {500'000, 2'000'000};
    config.pace = Pace::Fast;
    config.limit = limit;
    return config;
}

VirtualBusConfig realTime() {
    VirtualBusConfig config;
    config.rates = {1'000'000, 8'000'000};
    return config;
}

/// Calls @p action every @p period ns of bus time, from a timer of @p port.
void every(Port& port, Time period, const std::function<void()>& action) {
    port.at(port.now() + period, [&port, period, action] {
        action();
        every(port, period, action);
    });
}

TEST(VirtualBusFast, DeliversAFrameToAllButItsSender) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    Listener c;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    const auto portC = bus.attach(c);
    portA->send(classic(0x123, bytes(8, 7)));
    ASSERT_TRUE(b.received(1));
    ASSERT_TRUE(c.received(1));
    EXPECT_EQ((std::vector<Time>{222'000}), b.ends());
    EXPECT_EQ(7, c.frames()[0].data[7]);
    EXPECT_TRUE(a.frames().empty());
}

TEST(VirtualBusFast, TimeStandsStillWhileTheBusIsIdle) {
    VirtualBus bus(fast());
    Listener node;
    const auto port = bus.attach(node);
    EXPECT_FALSE(bus.waitUntil(1, kShort));
    EXPECT_EQ(0U, port->now());
}

TEST(VirtualBusFast, IsIdleOnceTheLastAnswerHasBeenDelivered) {
    VirtualBus bus(fast());
    Listener master;
    Listener ecu;
    const auto masterPort = bus.attach(master);
    const auto ecuPort = bus.attach(ecu);
    EXPECT_TRUE(bus.waitUntilIdle(kPatience));
    std::atomic<int> answered{0};
    ecu.react = [&](const Frame&, Time) {
        ecuPort->at(ecuPort->now() + 1'000'000, [&] { ecuPort->send(classic(0x201)); });
    };
    master.react = [&](const Frame&, Time) {
        std::this_thread::sleep_for(kShort);
        ++answered;
    };
    for (int sent = 1; sent <= 3; ++sent) {
        masterPort->send(classic(0x200));
        masterPort->send(classic(0x200));
        ASSERT_TRUE(bus.waitUntilIdle(kPatience));
        EXPECT_EQ(2 * sent, answered);
    }
}

TEST(VirtualBusFast, IsNotIdleWhileATimerWaits) {
    VirtualBus bus(fast());
    Listener node;
    const auto port = bus.attach(node);
    every(*port, 1'000'000, [] {});
    EXPECT_FALSE(bus.waitUntilIdle(kShort));
}

TEST(VirtualBusFast, NowInACallbackIsTheTimeOfItsEvent) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    std::atomic<Time> now{0};
    b.react = [&](const Frame&, Time end) { now = portB->now() == end ? end : 0; };
    portA->send(classic(1));
    ASSERT_TRUE(bus.waitUntil(94'000, kPatience));
    EXPECT_EQ(94'000U, now);
}

TEST(VirtualBusFast, ARequestAndItsAnswerTakeTheTimeOfTheirBits) {
    VirtualBus bus(fast());
    Listener master;
    Listener ecu;
    const auto masterPort = bus.attach(master);
    const auto ecuPort = bus.attach(ecu);
    ecu.react = [&](const Frame&, Time) { ecuPort->send(classic(0x201, bytes(8))); };
    for (std::size_t i = 1; i <= 100; ++i) {
        masterPort->send(classic(0x200, bytes(2)));
        ASSERT_TRUE(master.received(i));
    }
    EXPECT_EQ(100U * (126'000 + 222'000), bus.now());
    EXPECT_EQ(100U * (63 + 111), bus.counters().bits);
    EXPECT_EQ(100.0, bus.counters().loadPercent());
}

TEST(VirtualBusFast, AMonitorSeesEveryFrameWithItsSender) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    std::vector<std::pair<PortNumber, Time>> trace;
    bus.setMonitor([&](const Frame&, PortNumber sender, Time end) { trace.emplace_back(sender, end); });
    b.react = [&](const Frame&, Time) { portB->send(classic(2)); };
    portA->send(classic(1));
    ASSERT_TRUE(bus.waitUntil(188'000, kPatience));
    bus.setMonitor(nullptr);
    EXPECT_EQ(
        (std::vector<std::pair<PortNumber, Time>>{{portA->number(), 94'000}, {portB->number(), 188'000}}),
        trace);
}

TEST(VirtualBusFast, TimeStopsAtTheLimit) {
    VirtualBus bus(fast(10'500'000));
    Listener node;
    const auto port = bus.attach(node);
    std::atomic<int> ticks{0};
    every(*port, 1'000'000, [&] { ++ticks; });
    ASSERT_TRUE(bus.waitUntil(10'500'000, kPatience));
    EXPECT_EQ(10, ticks);
    EXPECT_EQ(10'500'000U, bus.now());
    EXPECT_FALSE(bus.waitUntil(10'500'001, kShort));
    bus.setLimit(20'000'000);
    ASSERT_TRUE(bus.waitUntil(20'000'000, kPatience));
    EXPECT_EQ(20, ticks);
}

TEST(VirtualBusFast, ASixtySecondsRunTakesNoSixtySeconds) {
    VirtualBus bus(fast(60'000'000'000));
    Listener node;
    const auto port = bus.attach(node);
    std::atomic<int> ticks{0};
    every(*port, 10'000'000, [&] { ++ticks; });
    ASSERT_TRUE(bus.waitUntil(60'000'000'000, std::chrono::seconds(59)));
    EXPECT_EQ(6000, ticks);
}

TEST(VirtualBusFast, ACancelledTimerDoesNotFire) {
    VirtualBus bus(fast(0));
    Listener node;
    const auto port = bus.attach(node);
    std::atomic<int> fired{0};
    const TimerId timer = port->at(1'000, [&] { fired = 1; });
    port->at(2'000, [&] { fired += 10; });
    port->cancel(timer);
    bus.setLimit(kNever);
    ASSERT_TRUE(bus.waitUntil(2'000, kPatience));
    EXPECT_EQ(10, fired);
}

TEST(VirtualBusBrake, HoldsTimersAndFramesUntilItLetsGo) {
    VirtualBus bus(fast());
    std::atomic<bool> hold{true};
    std::promise<void> asked;
    std::atomic<int> looks{0};
    bus.setBrake([&] {
        if (++looks == 3) {
            asked.set_value();
        }
        return hold.load();
    });
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    portA->send(classic(1));
    ASSERT_EQ(std::future_status::ready, asked.get_future().wait_for(kPatience));
    EXPECT_EQ(0U, bus.now());
    EXPECT_TRUE(b.frames().empty());
    hold = false;
    bus.wake();
    EXPECT_TRUE(b.received(1));
}

TEST(VirtualBusBrake, BoundsWhatASlowReceiverHasNotSeenYet) {
    std::atomic<int> undelivered{0};
    std::atomic<int> most{0};
    Listener ecu;
    Listener host;
    host.react = [&](const Frame&, Time) { most = std::max(most.load(), ++undelivered); };
    VirtualBus bus(fast());
    bus.setBrake([&] { return undelivered >= 20; });
    const auto ecuPort = bus.attach(ecu);
    const auto hostPort = bus.attach(host);
    every(*ecuPort, 1'000'000, [&] { ecuPort->send(classic(1)); });
    for (std::size_t seen = 0; seen < 1000; ++seen) {
        ASSERT_TRUE(host.received(seen + 1));
        --undelivered;
        bus.wake();
    }
    EXPECT_LE(most, 20);
}

TEST(VirtualBusBrake, HoldsTheWayToTheLimitToo) {
    VirtualBus bus(fast(1'000));
    std::atomic<bool> hold{true};
    bus.setBrake([&] { return hold.load(); });
    Listener node;
    const auto port = bus.attach(node);
    port->at(2'000, [] {});
    EXPECT_FALSE(bus.waitUntil(1'000, kShort));
    hold = false;
    EXPECT_TRUE(bus.waitUntil(1'000, kPatience));
}

TEST(VirtualBusFaults, AreSetForAPortOrForAll) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    FaultRates always;
    always.drop = 1;
    bus.setFaults(always);
    bus.setFaults(portB->number(), FaultRates{});
    portA->send(classic(1));
    portB->send(classic(2));
    ASSERT_TRUE(a.received(1));
    EXPECT_EQ(1U, bus.counters().dropped);
    EXPECT_EQ(1U, bus.counters().frames);
}

TEST(VirtualBusFaults, TellTheirSeed) {
    VirtualBusConfig config = fast();
    config.seed = 99;
    EXPECT_EQ(99U, VirtualBus(config).seed());
}

TEST(VirtualBusFaults, SilenceNowSwallowsFramesUntilRestored) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    bus.silenceNow(portA->number());
    portA->send(classic(1));
    bus.restore(portA->number());
    portA->send(classic(2));
    ASSERT_TRUE(b.received(1));
    EXPECT_EQ((std::vector<std::uint32_t>{2}), b.ids());
    EXPECT_EQ(1U, bus.counters().silenced);
}

TEST(VirtualBusFaults, ASilenceWindowIsOneOfBusTime) {
    VirtualBus bus(fast(3'500'000));
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    bus.silence(portA->number(), 2'000'000, 3'000'000);
    std::uint32_t id = 0;
    every(*portA, 1'000'000, [&] { portA->send(classic(++id)); });
    ASSERT_TRUE(bus.waitUntil(3'500'000, kPatience));
    EXPECT_EQ((std::vector<std::uint32_t>{1, 3}), b.ids());
}

TEST(VirtualBusPorts, ADestroyedPortGetsNothingAnyMore) {
    VirtualBus bus(fast());
    Listener a;
    const auto portA = bus.attach(a);
    every(*portA, 100'000, [&] { portA->send(classic(1)); });
    for (int i = 0; i < 50; ++i) {
        auto node = std::make_unique<Listener>();
        auto port = bus.attach(*node);
        every(*port, 50'000, [&out = *port] { out.send(classic(2)); });
        ASSERT_TRUE(node->received(2));
        port.reset();
        node.reset();  // a callback from here on would be found by a sanitizer
    }
}

TEST(VirtualBusPorts, DestructionWaitsForARunningCallback) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    auto portB = bus.attach(b);
    std::promise<void> inside;
    std::promise<void> destroying;
    std::atomic<bool> left{false};
    b.react = [&](const Frame&, Time) {
        inside.set_value();
        destroying.get_future().wait();
        for (int i = 0; i < 1000; ++i) {  // time for a destructor that would not wait
            std::this_thread::yield();
        }
        left = true;
    };
    portA->send(classic(1));
    inside.get_future().wait();
    destroying.set_value();
    portB.reset();
    EXPECT_TRUE(left);
}

TEST(VirtualBusPorts, APortCanBeDestroyedInsideACallbackOfItsNode) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    auto portB = bus.attach(b);
    b.react = [&](const Frame&, Time) { portB.reset(); };
    portA->send(classic(1));
    portA->send(classic(2));
    ASSERT_TRUE(bus.waitUntil(188'000, kPatience));
    EXPECT_EQ((std::vector<std::uint32_t>{1}), b.ids());
}

TEST(VirtualBusPorts, APortCanBeDestroyedInsideACallbackOfAnotherNode) {
    VirtualBus bus(fast());
    Listener a;
    Listener b;
    Listener c;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    auto portC = bus.attach(c);
    b.react = [&](const Frame&, Time) { portC.reset(); };
    portA->send(classic(1));
    portA->send(classic(2));
    ASSERT_TRUE(bus.waitUntil(188'000, kPatience));
    EXPECT_TRUE(c.ids().empty());
}

TEST(VirtualBusPorts, APortCanBeDestroyedInsideItsOwnTimer) {
    VirtualBus bus(fast(0));
    Listener node;
    auto port = bus.attach(node);
    Listener other;
    const auto otherPort = bus.attach(other);
    port->at(1'000, [&] { port.reset(); });
    port->at(2'000, [] { FAIL(); });
    otherPort->at(3'000, [] {});
    bus.setLimit(kNever);
    ASSERT_TRUE(bus.waitUntil(3'000, kPatience));
    EXPECT_EQ(nullptr, port);
}

TEST(VirtualBusPorts, ManyThreadsSendAtOnceAndEachKeepsItsOrder) {
    VirtualBus bus(fast());
    Listener host;
    const auto hostPort = bus.attach(host);
    std::vector<std::thread> threads;
    for (std::uint32_t id = 1; id <= 3; ++id) {
        threads.emplace_back([&bus, id] {
            Listener node;
            const auto port = bus.attach(node);
            for (std::uint8_t i = 0; i < 200; ++i) {
                port->send(classic(id, {i}));
            }
            // stays until all is sent: what still waits would go with the port
            const std::size_t index = port->number() - 1;
            while (bus.counters().framesByPort[index] < 200) {
                std::this_thread::yield();
            }
        });
    }
    ASSERT_TRUE(host.received(600));
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::uint8_t> next(4, 0);
    for (const Frame& frame : host.frames()) {
        EXPECT_EQ(next[frame.id]++, frame.data[0]) << "identifier " << frame.id;
    }
}

TEST(VirtualBusRealTime, KeepsOrderAndTheTimesOfTheBits) {
    VirtualBus bus(realTime());
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    std::atomic<Time> start{0};
    portA->at(1'000'000, [&] {
        start = portA->now();
        for (std::uint32_t id = 1; id <= 500; ++id) {
            portA->send(fd(id, bytes(8)));
        }
    });
    ASSERT_TRUE(b.received(500));
    const std::vector<Time> ends = b.ends();
    for (std::size_t i = 0; i < 500; ++i) {
        EXPECT_EQ(i + 1, b.ids()[i]);
        EXPECT_EQ(start + (i + 1) * 41'125, ends[i]);
    }
}

TEST(VirtualBusRealTime, BusTimeIsNeverAheadOfTheClock) {
    const auto start = std::chrono::steady_clock::now();
    std::promise<Time> fired;
    VirtualBus bus(realTime());
    Listener node;
    const auto port = bus.attach(node);
    port->at(5'000'000, [&] { fired.set_value(port->now()); });
    const Time time = fired.get_future().get();
    EXPECT_GE(time, 5'000'000U);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::nanoseconds(time));
}

TEST(VirtualBusRealTime, PassesOnAnIdleBus) {
    VirtualBus bus(realTime());
    EXPECT_TRUE(bus.waitUntil(2'000'000, kPatience));
    EXPECT_GE(bus.now(), 2'000'000U);
}

TEST(VirtualBusRealTime, NowNeverGoesBackAndASendNeverArrivesBeforeIt) {
    VirtualBusConfig config = realTime();
    config.maxLag = 20'000;
    VirtualBus bus(config);
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    b.react = [&](const Frame& frame, Time) { portB->send(classic(frame.id + 1)); };
    Time last = 0;
    for (std::size_t i = 1; i <= 300; ++i) {
        const Time before = portA->now();
        ASSERT_GE(before, last);
        portA->send(classic(1));
        ASSERT_TRUE(a.received(i));
        EXPECT_GE(a.ends().back(), before + 94'000);
        last = before;
    }
}

/// Lets real time pass.
void pass(std::chrono::milliseconds time) {
    const auto until = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < until) {
        std::this_thread::yield();
    }
}

TEST(VirtualBusRealTime, AStallShiftsBusTimeInsteadOfMakingABurst) {
    VirtualBusConfig config = realTime();
    config.maxLag = 1'000'000;
    VirtualBus bus(config);
    Listener node;
    const auto port = bus.attach(node);
    std::promise<std::chrono::steady_clock::time_point> last;
    std::chrono::steady_clock::time_point stalled;
    port->at(1'000'000, [&] {
        port->at(port->now() + 1'000'000, [] {});
        port->at(port->now() + 10'000'000, [&] { last.set_value(std::chrono::steady_clock::now()); });
        pass(std::chrono::milliseconds(30));
        stalled = std::chrono::steady_clock::now();
    });
    // the first timer comes at once, the second keeps 9 ms of distance less the lag allowed
    EXPECT_GE(last.get_future().get() - stalled, std::chrono::milliseconds(8));
}

TEST(VirtualBusRealTime, DuringAStallBusTimeStaysNearTheEventThatIsDelivered) {
    std::promise<Time> inside;
    std::promise<void> go;
    VirtualBus bus(realTime());
    Listener node;
    const auto port = bus.attach(node);
    port->at(1'000'000, [&] {
        port->at(port->now() + 1'000'000, [] {});
        inside.set_value(port->now());
        go.get_future().wait();
    });
    const Time event = inside.get_future().get();
    pass(std::chrono::milliseconds(5));
    EXPECT_EQ(event + 200'000, port->now());
    go.set_value();
    EXPECT_TRUE(bus.waitUntil(event + 1'000'000, kPatience));
}

TEST(VirtualBusRealTime, WithoutSpinningTimesAreStillExact) {
    VirtualBusConfig config = realTime();
    config.spin = 0;
    VirtualBus bus(config);
    Listener a;
    Listener b;
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    every(*portA, 1'000'000, [&] { portA->send(classic(1)); });
    ASSERT_TRUE(b.received(20));
    const std::vector<Time> ends = b.ends();
    for (std::size_t i = 1; i < 20; ++i) {
        EXPECT_EQ(1'000'000U, ends[i] - ends[i - 1]);
    }
}

TEST(VirtualBusRealTime, ABrakeHoldsBusTime) {
    std::atomic<bool> hold{true};
    VirtualBus bus(realTime());
    bus.setBrake([&] { return hold.load(); });
    Listener node;
    const auto port = bus.attach(node);
    port->at(0, [] {});
    const Time latest = bus.now() + VirtualBusConfig{}.maxLag;
    pass(std::chrono::milliseconds(5));
    EXPECT_LE(bus.now(), latest);
    hold = false;
    EXPECT_TRUE(bus.waitUntil(latest + 1, kPatience));
}

TEST(VirtualBusRealTime, EndsWhileAFrameIsOnTheWayAndATimerIsFar) {
    Listener a;
    Listener b;
    VirtualBus bus(realTime());
    const auto portA = bus.attach(a);
    const auto portB = bus.attach(b);
    portA->at(kNever, [] { FAIL(); });
    portA->send(classic(1, bytes(8)));
}

TEST(VirtualBus, RefusesABitRateOfZero) {
    VirtualBusConfig config;
    config.rates.nominal = 0;
    EXPECT_THROW(VirtualBus bus(config), std::invalid_argument);
}

}  // namespace
}  // namespace sim
