/// @file
/// One XCP ECU as the engine drives it: session, measurement, calibration, memory and flash.
#pragma once

#include "daq/AddressBlock.h"
#include "daq/PollScheduler.h"
#include "engine/ITask_Transmit.h"
#include "transport/MemoryTask.h"
#include "xcp/XcpProtoTransmit.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace XCP_MOUDLE {

/// The sequences of commands behind the operations. The object remembers nothing of a session but the facts
/// of the last CONNECT and `m_linkLost`: a second `connect` runs the whole sequence again, and what is
/// unlocked is the ECU's business.
///
/// Optional commands are sent only if they stand in `supportedCmds`; the ECU is not asked.
class XcpTaskTransmit : public XcpProtoTransmit, public ITask_Transmit {
public:
    XcpTaskTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);

    std::uint32_t connect() override;
    std::uint32_t disconnect() override;
    void keepAlive() override;
    bool isLinkLost() override;
    std::string lastErrorText() override;
    std::int32_t responseBudget() override;

    std::uint32_t prepareMeasurement(const std::vector<mcMeasureVariable>& variables) override;
    std::uint32_t startMeasurement() override;
    void stopMeasurement() override;
    std::vector<mcMeasureVariableValue> readVariables(
        const std::vector<mcMeasureVariable>& variables) override;
    bool processDaqFrames() override;
    void pollTick() override;

    std::uint32_t selectWorkingPage() override;
    std::uint32_t selectReferencePage() override;
    std::uint32_t copyReferenceToWorking() override;
    std::uint32_t writeVariable(const mcMeasureVariable& variable,
                                const std::vector<std::uint8_t>& bytes) override;
    std::vector<mcMemoryInfo> memoryRanges(mcMemOperType operation) override;
    std::uint32_t uploadRange(const mcMemoryInfo& range, std::vector<mcMemoryData>* results,
                              const std::uint32_t* total, std::uint32_t* done) override;
    std::uint32_t uploadMemory(mcMemOperType operation, std::vector<mcMemoryData>* results) override;
    std::uint32_t checkMemory(const std::list<mem_buf>& blocks, mcMemOperType operation,
                              std::vector<mcMemoryData>* results) override;

    std::uint32_t eraseMemory(mcMemOperType operation) override;
    std::uint32_t downloadMemory(const std::list<mem_buf>& blocks, mcMemOperType operation) override;
    std::uint32_t forceDownload(const std::string& path) override;

    /// Reads one polled variable: the reader of `m_pollScheduler`. Polling thread.
    /// @return 0, 18 if the variable is not allowed, or 19 for a short read, which leaves @p value as it was
    std::int32_t readVariable(const mcMeasureVariable& variable, mcMeasureVariableValue& value);

    /// Reads the bytes of one variable. @p buffer grows with what arrives and then has the variable's size.
    /// @return bytes read, or 1 for a failed command. That 1 is not told apart from a count: a failed read of
    ///         one byte passes as complete and yields a zero, which hosts know.
    std::int32_t readVariableData(const AddressBlock& block, std::vector<std::uint8_t>& buffer);

    /// @return the cycle of an event channel in milliseconds; the polling period or 1000 if it is not known
    [[nodiscard]] double eventPeriodMs(std::uint16_t event) const;

    /// Selects a page for the ECU and for XCP. @return 0, 23 if the ECU refused, 72 if it has no such command
    std::uint32_t setCalPageOrReport(std::uint8_t segment, std::uint8_t page);

    /// Writes to the MTA, in master block mode if the ECU offers it. @return true if all bytes went out
    bool writeData(const std::uint8_t* source, std::uint8_t count);

    /// Fetches the checksums of one range. @return a result code
    std::uint32_t checkRange(const mcMemoryInfo& range, const std::list<mem_buf>& blocks,
                             std::vector<mcMemoryData>* results);

    /// Writes or programs one block. @param done  goes up by what was sent @return true if all of it went out
    bool downloadMemBlock(const mem_buf& block, bool program, std::uint32_t total, std::uint32_t& done);

    std::uint64_t m_lastSynchTime = 0;   ///< microseconds, the last SYNCH of `keepAlive`; worker thread
    std::uint64_t m_lastStatusTime = 0;  ///< microseconds, the last GET_STATUS of `keepAlive`; worker thread
    std::unique_ptr<PollScheduler> m_pollScheduler;  ///< locks itself

private:
    std::uint32_t unlockAll();

    std::uint32_t askDaqFacts();
    void writePlan(const std::map<std::uint16_t, DaqListPlan>& lists);
    void allocate(const std::map<std::uint16_t, DaqListPlan>& lists);
    void clearStaticLists();
    void writeList(std::uint16_t list, const DaqListPlan& plan);
    void selectLists(const std::map<std::uint16_t, DaqListPlan>& lists);
    void selectList(std::uint16_t list, const DaqListPlan& plan);
    void takeStaticPids(std::uint16_t list);
    void dropMadeEntries();
    [[nodiscard]] bool isDynamic() const;
    bool readOrReport(const mcMeasureVariable& variable, std::vector<std::uint8_t>& buffer);

    [[nodiscard]] static bool hasPageToSelect(const mcMemoryInfo& range);
    [[nodiscard]] std::uint8_t stepSize(bool block) const;
    [[nodiscard]] bool offersMasterBlock() const;
    std::uint32_t programCode(const std::list<mem_buf>& blocks, const std::vector<mcMemoryInfo>& code,
                              std::uint32_t total, std::uint32_t& done);
    std::uint32_t writeCalibration(const std::list<mem_buf>& blocks, const std::vector<mcMemoryInfo>& data,
                                   std::uint32_t total, std::uint32_t& done);
    std::uint32_t downloadReported(const mem_buf& block, bool program, std::uint32_t total,
                                   std::uint32_t& done);
    std::uint32_t clearForced(const mcMemoryInfo& segment);
    bool programForced(const std::list<mem_buf>& blocks);
    bool programWhole(const mem_buf& block);

    /// Entries of the configuration that the running measurement had to make itself. They go with the next
    /// preparation, so that a second start plans like the first. Worker thread.
    std::set<std::uint16_t> m_madeListInfo;
    std::set<std::uint16_t> m_madeEvents;
};

}  // namespace XCP_MOUDLE
