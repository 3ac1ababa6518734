/// @file
/// What the measurement operations of both protocols share: planning, polling, one-shot reads, and turning
/// DAQ frames into values.
#pragma once

#include "TalvexRecords.h"
#include "daq/IDaq.h"
#include "daq/PollScheduler.h"
#include "transport/BasicCfgTransmit.h"

#include <cstdint>
#include <functional>
#include <vector>

/// Where values come from, as `measureFun` tells.
enum MeasureKind : std::int32_t { kMeasureRead = 0, kMeasurePolled = 1, kMeasureDaq = 2 };

/// What becomes of a pending frame when DAQ frames are fetched.
enum class FrameFate {
    kKeep,    ///< it may be somebody's answer
    kDrop,    ///< nobody wants it
    kEvent,   ///< an event: it is analysed and goes
    kDecode,  ///< a DAQ frame: the planner takes it apart, and it goes
};

/// Checks @p variables, plans them and fills the timetable. With a polling period all of them are polled.
/// @param prepareFacts  runs ahead of the planning and brings the configuration up to date; not called if all
/// is
///                      polled. Its result ends the preparation if it is not 0
/// @return a result code: 18 if no variable is left, that of @p prepareFacts, else 0
std::uint32_t prepareMeasurementOn(BasicCfgTransmit& ecu, IDaq& daq, PollScheduler& scheduler,
                                   const std::vector<mcMeasureVariable>& variables,
                                   std::uint16_t pollPeriodMs,
                                   const std::function<std::uint32_t()>& prepareFacts);

/// Fetches frames, lets each go the way @p fateOf says, and delivers the values of completed cycles once the
/// frames are free again.
void deliverDaqFrames(BasicCfgTransmit& ecu, IDaq& daq,
                      FrameFate (*fateOf)(const EcuProtoCfg&, const msgBuf&));

/// Runs one tick of the timetable and delivers what it read.
void deliverPolled(const BasicCfgTransmit& ecu, PollScheduler& scheduler);

/// Reads what is allowed of @p variables one by one and delivers it with the rejected names.
/// @param read  fills a value; false leaves it out
std::vector<mcMeasureVariableValue> readAndDeliver(
    const BasicCfgTransmit& ecu, const std::vector<mcMeasureVariable>& variables,
    const std::function<bool(const mcMeasureVariable&, mcMeasureVariableValue&)>& read);

/// @return a value read now: the variable's name, the system time and @p data
mcMeasureVariableValue valueReadNow(const mcMeasureVariable& variable, std::vector<std::uint8_t> data);

/// @return the most milliseconds that one exchange can take; a time-out of 0 counts as 25, a negative number
/// of
///         repeats as 0
std::int32_t responseBudgetMs(std::uint16_t timeoutMs, std::int32_t retryCount, std::uint32_t retryDelayMs);

/// Tells whether a period has run out.
/// @param now   microseconds
/// @param last  microseconds; becomes @p now if the period is over
/// @return true if @p periodMs is not 0 and has passed since @p last
bool isPeriodOver(std::uint64_t now, std::uint64_t& last, std::uint32_t periodMs);
