/// @file
/// The DAQ planner for CCP.
#pragma once

#include "daq/IDaq.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

class VariableQueue;

namespace CCP_MOUDLE {

/// Plans the DAQ lists that a CCP ECU offers, and takes its DTOs apart. The first byte of a DTO is its PID.
class CcpDaq : public IDaq {
public:
    void configure(const EcuProtoCfg& cfg) override;
    void planLists(bool unlimited) override;
    std::vector<mcMeasureVariableValue> decodeDto(const msgBuf& frame) override;

    /// Fills one DAQ list.
    /// @param budget     most ODTs of the list; 0 places nothing
    /// @param variables  variables of one event; what was placed is removed, what is too large goes to the
    /// end
    /// @param names      gets the names of the variables whose last byte was placed
    /// @param unlimited  not read
    /// @return the ODTs, in order; none if nothing fits
    virtual std::vector<DaqOdtPlan> packOdts(std::uint8_t budget, std::vector<mcMeasureVariable>& variables,
                                             std::list<std::string>& names, bool unlimited);

    /// Cuts one ODT out of a frame, whatever length the frame has.
    /// @param payload  what follows the PID; bytes from 63 on are not read but count as 0
    /// @return the entries with their bytes; none for an unknown list or ODT
    std::vector<DaqOdtEntry> extractOdt(const std::uint8_t* payload, std::uint16_t list,
                                        std::uint8_t odt) const;

    std::map<std::uint16_t, CcpDaqListCfg> m_listConfigs;  ///< the lists that the ECU offers
    std::uint64_t m_cycleStart = 0;                        ///< time of the last first ODT, of whatever list

private:
    std::vector<DaqOdtPlan> fillList(std::uint8_t budget, VariableQueue& queue,
                                     std::list<std::string>& names) const;
    std::uint32_t planEvent(std::uint16_t event, VariableQueue& queue, std::uint32_t list);
    DaqListPlan planList(std::uint16_t event, const CcpDaqListCfg& config, VariableQueue& queue,
                         std::list<std::string>& names) const;
};

}  // namespace CCP_MOUDLE
