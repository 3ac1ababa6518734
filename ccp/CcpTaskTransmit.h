/// @file
/// One CCP ECU as the engine drives it: session, measurement, calibration, memory and flash.
#pragma once

#include "ccp/CcpProtoTransmit.h"
#include "daq/PollScheduler.h"
#include "engine/ITask_Transmit.h"

#include <array>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace CCP_MOUDLE {

/// The sequences of commands behind the operations. The object remembers nothing of a session but
/// `m_linkLost`. Optional commands are sent only if they stand in `supportedCmds`; the ECU is not asked.
class CcpTaskTransmit : public CcpProtoTransmit, public ITask_Transmit {
public:
    CcpTaskTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);

    std::uint32_t connect() override;
    /// @return what the exchange returned: 1 if DISCONNECT counts as done, else 0
    std::uint32_t disconnect() override;
    void keepAlive() override;
    /// Looks at the last status, not at `m_linkLost`.
    bool isLinkLost() override;
    std::string lastErrorText() override;
    std::int32_t responseBudget() override;

    std::uint32_t prepareMeasurement(const std::vector<mcMeasureVariable>& variables) override;
    /// @return 0, always
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
    /// @return 0, whatever happened
    std::uint32_t eraseMemory(mcMemOperType operation) override;
    std::vector<mcMemoryInfo> memoryRanges(mcMemOperType operation) override;
    std::uint32_t uploadRange(const mcMemoryInfo& range, std::vector<mcMemoryData>* results,
                              const std::uint32_t* total, std::uint32_t* done) override;
    std::uint32_t uploadMemory(mcMemOperType operation, std::vector<mcMemoryData>* results) override;
    std::uint32_t downloadMemory(const std::list<mem_buf>& blocks, mcMemOperType operation) override;
    std::uint32_t checkMemory(const std::list<mem_buf>& blocks, mcMemOperType operation,
                              std::vector<mcMemoryData>* results) override;
    std::uint32_t forceDownload(const std::string& path) override;

    /// Reads one variable: the reader of `m_pollScheduler`. Worker and polling thread.
    /// @return 0, or 31, 37, 38 for what failed
    std::int32_t readVariable(const mcMeasureVariable& variable, mcMeasureVariableValue& value);

    /// @return the cycle of an event channel in milliseconds; the polling period or 1000 if it is not known
    [[nodiscard]] double eventPeriod(std::uint16_t event) const;

    /// Fetches the checksums of one range. @return a result code
    std::uint32_t checkRange(const mcMemoryInfo& range, const std::list<mem_buf>& blocks,
                             std::vector<mcMemoryData>* results);

    std::array<std::uint8_t, 6> m_masterId{};        ///< master identification of the last connect
    std::array<std::uint8_t, 255> m_slaveId{};       ///< slave identification, read at connect
    std::unique_ptr<PollScheduler> m_pollScheduler;  ///< locks itself

private:
    std::uint32_t identify();
    std::uint32_t unlockAll(std::uint8_t resources);
    std::uint32_t enterSession();

    std::uint32_t askDaqSizes();
    void writeList(std::uint16_t list, const DaqListPlan& plan);
    void writeOdt(std::uint16_t list, std::size_t odt, const DaqListPlan& plan);
    void startStop(std::uint8_t mode, std::uint16_t list, const DaqListPlan& plan, std::uint8_t lastOdt);
    std::uint32_t readBytes(const mcMeasureVariable& variable, std::vector<std::uint8_t>& data);

    std::uint32_t selectPage(std::uint32_t address);
    std::uint32_t downloadBlocks(const std::list<mem_buf>& blocks, bool program, std::uint32_t total,
                                 std::uint32_t& done);
    std::uint32_t clearForced();
    void streamForced(const std::list<mem_buf>& blocks);
};

}  // namespace CCP_MOUDLE
