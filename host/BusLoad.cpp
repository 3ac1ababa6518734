#include "host/BusLoad.h"

#include "sim/BitTiming.h"

#include <algorithm>
#include <random>

namespace host {
namespace {

/// Contents that the average is taken over.
constexpr int kSamples = 64;

double percentOf(double picoseconds, double perSecond) {
    return picoseconds * 1e-12 * perSecond * 100.0;
}

double averagePs(sim::Frame frame, const sim::BitRates& rates) {
    std::mt19937 random(frame.length);
    double sum = 0.0;
    for (int i = 0; i < kSamples; ++i) {
        std::generate_n(frame.data.begin(), frame.length,
                        [&random] { return static_cast<std::uint8_t>(random()); });
        sum += static_cast<double>(wireTimePs(frameBits(frame, sim::Stuffing::Actual), rates));
    }
    return sum / kSamples;
}

}  // namespace

BusShare& BusShare::operator+=(const BusShare& other) {
    framesPerSecond += other.framesPerSecond;
    averagePercent += other.averagePercent;
    worstPercent += other.worstPercent;
    return *this;
}

BusShare shareOf(const sim::Frame& shape, double perSecond, const BusRecord& bus) {
    const sim::BitRates rates{bus.nominalRate, bus.dataRate.value_or(bus.nominalRate)};
    const auto worst = static_cast<double>(wireTimePs(frameBits(shape, sim::Stuffing::Worst), rates));
    return {perSecond, percentOf(averagePs(shape, rates), perSecond), percentOf(worst, perSecond)};
}

sim::Frame frameShape(const EcuRecord& ecu, std::uint32_t id, std::size_t length) {
    sim::Frame frame;
    frame.id = id;
    frame.extended = ecu.extended;
    frame.fd = ecu.fd;
    frame.brs = ecu.bitRateSwitch;
    frame.length = static_cast<std::uint8_t>(std::min<std::size_t>(length, ecu.fd ? 64 : 8));
    return frame;
}

}  // namespace host
