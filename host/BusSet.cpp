#include "host/BusSet.h"

#include "host/BusTrace.h"
#include "host/HostError.h"
#include "host/OpenBus.h"

#include <TalvexSDK.h>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <set>
#include <utility>

namespace host {
namespace {

constexpr std::uint8_t kFlagExtended = 0x01;
constexpr std::uint8_t kFlagFd = 0x02;
constexpr std::uint8_t kFlagRateSwitch = 0x04;

std::vector<std::string> busNames(const Config& config) {
    std::vector<std::string> names;
    std::transform(config.buses.begin(), config.buses.end(), std::back_inserter(names),
                   [](const BusRecord& bus) { return bus.name; });
    return names;
}

BusRecord& busNamed(Config& config, const std::string& name) {
    const auto found = std::find_if(config.buses.begin(), config.buses.end(),
                                    [&name](const BusRecord& bus) { return bus.name == name; });
    if (found == config.buses.end()) {
        throw HostError(fmt::format("--bus: {} has no bus \"{}\"; it has {}", config.file, name,
                                    fmt::join(busNames(config), ", ")),
                        ExitCode::usage);
    }
    return *found;
}

}  // namespace

sim::Frame busFrame(const OutgoingFrame& frame) {
    sim::Frame copy;
    copy.id = frame.id;
    copy.extended = (frame.flags & kFlagExtended) != 0;
    copy.fd = (frame.flags & kFlagFd) != 0;
    copy.brs = (frame.flags & kFlagRateSwitch) != 0;
    copy.length = std::min<std::uint8_t>(frame.length, sim::kMaxPayload);
    std::copy_n(frame.data, copy.length, copy.data.begin());
    return copy;
}

void overrideUrls(Config& config, const std::vector<std::string>& urls) {
    for (const std::string& text : urls) {
        const std::size_t equals = text.find('=');
        if (equals != std::string::npos) {
            busNamed(config, text.substr(0, equals)).url = text.substr(equals + 1);
        } else if (config.buses.size() == 1) {
            config.buses.front().url = text;
        } else {
            throw HostError(fmt::format("--bus {}: {} has several buses; give NAME=URL with NAME one of {}",
                                        text, config.file, fmt::join(busNames(config), ", ")),
                            ExitCode::usage);
        }
    }
}

BusSet::BusSet(const Config& config, const std::vector<std::size_t>& ecus, CandumpWriter* trace,
               Watcher watcher)
    : m_config(config), m_trace(trace), m_watcher(std::move(watcher)) {
    std::set<std::size_t> used;
    std::transform(ecus.begin(), ecus.end(), std::inserter(used, used.end()),
                   [&config](std::size_t ecu) { return config.ecus[ecu].bus; });
    const BusScope scope = trace != nullptr ? BusScope::everything : BusScope::ecus;
    for (const std::size_t bus : used) {
        const BusRecord& record = config.buses[bus];
        m_buses.emplace(record.channel, openBus(record.url, config, bus, scope,
                                                [this, bus](const BusFrame& frame) { take(bus, frame); }));
    }
}

/// The watcher is told ahead of the library: who waits for the library's answer finds it has been told.
void BusSet::take(std::size_t bus, const BusFrame& frame) const {
    const std::uint8_t channel = m_config.buses[bus].channel;
    if (m_trace != nullptr) {
        m_trace->write(loggedFrame(frame.frame, interfaceName(channel), frame.timeUs));
    }
    m_watcher(bus, frame);
    if (!frame.own) {
        recvCanMsg(0, frame.timeUs, channel, frame.frame.id, frame.frame.length, frame.frame.data.data());
    }
}

void BusSet::send(const OutgoingFrame& frame) {
    const auto bus = m_buses.find(frame.channel);
    if (bus != m_buses.end()) {
        static_cast<void>(bus->second->send(busFrame(frame)));  // `failure` tells
    }
}

void BusSet::delivered(std::size_t bus, std::uint64_t timeUs) {
    const auto open = m_buses.find(m_config.buses[bus].channel);
    if (open != m_buses.end()) {
        open->second->delivered(timeUs);
    }
}

std::string BusSet::failure() const {
    for (const auto& [channel, bus] : m_buses) {
        if (std::string text = bus->failure(); !text.empty()) {
            return text;
        }
    }
    return {};
}

std::uint64_t BusSet::overflows() const {
    return std::accumulate(
        m_buses.begin(), m_buses.end(), std::uint64_t{0},
        [](std::uint64_t sum, const auto& entry) { return sum + entry.second->overflows(); });
}

}  // namespace host
