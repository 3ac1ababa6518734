#include "host/BusTrace.h"

#include <fmt/format.h>

namespace host {

std::string interfaceName(std::uint8_t channel) {
    return fmt::format("can{}", channel);
}

LoggedFrame loggedFrame(const sim::Frame& frame, const std::string& interface, std::uint64_t timeUs) {
    LoggedFrame logged;
    logged.timeUs = static_cast<std::int64_t>(timeUs);
    logged.interface = interface;
    logged.id = frame.id;
    logged.extended = frame.extended;
    logged.fd = frame.fd;
    logged.rateSwitch = frame.brs;
    logged.length = frame.length;
    logged.data = frame.data;
    return logged;
}

}  // namespace host
