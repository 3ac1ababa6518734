/// @file
/// What the engine knows of an ECU: one interface with two classes behind it, one per protocol.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <list>
#include <string>
#include <vector>

/// The operations of one ECU. "Code" is a result code as in `getErrorString`, 0 being success. Operations run
/// on the worker thread if not said otherwise. The engine never asks for the class behind it.
class ITask_Transmit {
public:
    virtual ~ITask_Transmit() = default;

    /// Opens the session and unlocks the ECU. @return a code
    virtual std::uint32_t connect() = 0;
    /// Closes the session. @return the protocol's own word, which the engine does not use
    virtual std::uint32_t disconnect() = 0;

    /// Checks the variables and plans them. @return a code
    virtual std::uint32_t prepareMeasurement(const std::vector<mcMeasureVariable>& variables) = 0;
    /// Writes the plan to the ECU and starts it. @return a code
    virtual std::uint32_t startMeasurement() = 0;
    /// Stops the ECU's DAQ and forgets the plan and the timetable.
    virtual void stopMeasurement() = 0;

    /// @return a code; 72 if the ECU has no such command
    virtual std::uint32_t selectWorkingPage() = 0;
    /// @return a code; 72 if the ECU has no such command
    virtual std::uint32_t selectReferencePage() = 0;
    /// @return a code; 72 if the ECU has no such command
    virtual std::uint32_t copyReferenceToWorking() = 0;

    /// Reads variables once and delivers them through `measureFun` with kind 0.
    virtual std::vector<mcMeasureVariableValue> readVariables(
        const std::vector<mcMeasureVariable>& variables) = 0;
    /// Writes one variable; the low 8 bits of the number of @p bytes count. @return not used by the engine
    virtual std::uint32_t writeVariable(const mcMeasureVariable& variable,
                                        const std::vector<std::uint8_t>& bytes) = 0;

    /// @return a code
    virtual std::uint32_t eraseMemory(mcMemOperType operation) = 0;
    /// @return the ranges that @p operation selects. Called by the task object itself
    virtual std::vector<mcMemoryInfo> memoryRanges(mcMemOperType operation) = 0;
    /// Reads one range. Called by the task object itself.
    /// @param results  gets the bytes; may be null
    /// @param total    bytes of the whole operation; may be null
    /// @param done     bytes read so far, goes up; may be null
    /// @return a code
    virtual std::uint32_t uploadRange(const mcMemoryInfo& range, std::vector<mcMemoryData>* results,
                                      const std::uint32_t* total, std::uint32_t* done) = 0;
    /// Reads ranges and delivers them through `memResultFun` with 10. @param results  may be null
    /// @return a code
    virtual std::uint32_t uploadMemory(mcMemOperType operation, std::vector<mcMemoryData>* results) = 0;
    /// Writes an image into the ranges. @return a code
    virtual std::uint32_t downloadMemory(const std::list<mem_buf>& blocks, mcMemOperType operation) = 0;
    /// Fetches the ECU's checksums of an image's parts, beside the local ones. @param results  may be null
    /// @return a code
    virtual std::uint32_t checkMemory(const std::list<mem_buf>& blocks, mcMemOperType operation,
                                      std::vector<mcMemoryData>* results) = 0;
    /// Clears and programs the data segments from a file. @return a code
    virtual std::uint32_t forceDownload(const std::string& path) = 0;

    /// Turns the DAQ frames that came in into values; each turn of the worker. @return not used
    virtual bool processDaqFrames() = 0;
    /// Reads the polled variables that are due. Polling thread, each turn.
    virtual void pollTick() = 0;
    /// Keeps the session alive; each turn of the worker.
    virtual void keepAlive() = 0;

    /// @return true if the ECU did not answer the last command. Polling thread, each turn.
    virtual bool isLinkLost() = 0;
    /// @return the text of the last status. Polling thread.
    virtual std::string lastErrorText() = 0;
    /// @return the most milliseconds that one exchange can take. Polling thread.
    virtual std::int32_t responseBudget() = 0;
};
