/// @file
/// What `talvex sim` prints.
#pragma once

#include "host/JsonLines.h"
#include "host/Output.h"
#include "host/SimRun.h"

namespace host {

/// Messages go to standard error, JSON to standard output. One thread at a time.
class SimPrint {
public:
    SimPrint(const Config& config, const SimPlan& plan, bool json)
        : m_config(config), m_plan(plan), m_json(json), m_lines(stdout), m_messages(stderr, false) {}

    /// Everything runs.
    void ready(const SimRun& run);

    /// What was counted.
    void counters(const SimRun& run);

private:
    void writeBus(const SimBusReport& bus);
    void writeBridge(const BridgePlan& plan, const BridgeCounters& counters);
    void writeServer(const ServerCounters& counters);
    void write(const Json& object);

    const Config& m_config;
    const SimPlan& m_plan;
    bool m_json;
    JsonLines m_lines;
    Output m_messages;
};

}  // namespace host
