/// @file
/// What a measurement will be, without an ECU.
#pragma once

#include "host/BusLoad.h"
#include "host/ConfigRecords.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// One DAQ list.
struct PlannedList {
    std::uint16_t number = 0;
    std::uint16_t event = 0;         ///< number of its event channel
    std::string eventName;           ///< empty if the configuration has no such channel
    std::uint64_t periodNs = 0;      ///< of its packets, prescaler included; 0: not cyclic
    std::uint32_t id = 0;            ///< identifier of its packets
    std::size_t odts = 0;            ///< packets of one cycle
    std::size_t bytes = 0;           ///< of variables in one cycle
    BusShare share;                  ///< nothing for a channel that is not cyclic
    std::vector<std::string> names;  ///< variables with bytes in it, in the order of the packets
};

/// A variable that is asked for again and again.
struct PolledVariable {
    std::string name;
    std::uint16_t periodMs = 0;
    std::string reason;  ///< why it is not in a DAQ list
    BusShare share;      ///< commands and answers
};

/// A variable that the library does not measure.
struct RejectedVariable {
    std::string name;
    std::string reason;
};

/// A variable that is in DAQ lists, but whose values the library does not deliver.
struct UndeliveredVariable {
    std::string name;
    std::string reason;
};

/// The measurement of one ECU.
struct EcuPlan {
    std::size_t ecu = 0;  ///< index of the configuration
    std::vector<PlannedList> lists;
    std::vector<PolledVariable> polled;
    std::vector<RejectedVariable> rejected;
    std::vector<UndeliveredVariable> undelivered;
    BusShare keepAlive;

    /// Of all DAQ lists.
    [[nodiscard]] BusShare daqShare() const;
    /// Of all polled variables.
    [[nodiscard]] BusShare pollShare() const;
};

/// Plans a measurement as the library will. It believes the configuration, as there is nobody else to ask.
/// @param ecu        index of the configuration
/// @param unlimited  XCP: DAQ lists take ODTs without limit
[[nodiscard]] EcuPlan planMeasurement(const Config& config, std::size_t ecu,
                                      const std::vector<VariableRecord>& variables, bool unlimited);

}  // namespace host
