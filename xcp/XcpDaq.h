/// @file
/// The DAQ planner for XCP.
#pragma once

#include "daq/IDaq.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

class VariableQueue;

namespace XCP_MOUDLE {

/// Plans XCP DAQ lists, static and dynamic alike, and takes XCP DTOs apart. List numbers begin at 0.
class XcpDaq : public IDaq {
public:
    void configure(const EcuProtoCfg& cfg) override;
    void planLists(bool unlimited) override;
    std::vector<mcMeasureVariableValue> decodeDto(const msgBuf& frame) override;

    /// Fills one DAQ list.
    /// @param budget     ODTs still free in the list; 0 is no limit
    /// @param odtLimit   most payload bytes of an ODT; 0 is no limit. A limit that the frame cannot hold
    /// counts
    ///                   as none
    /// @param variables  variables of one event; what was placed is removed, what was skipped goes to the end
    /// @param names      gets the names of the variables whose last byte was placed
    /// @param unlimited  counts @p budget as 0
    /// @return the ODTs, in order; none if nothing fits
    std::vector<DaqOdtPlan> packOdts(std::uint8_t budget, std::uint8_t odtLimit,
                                     std::vector<mcMeasureVariable>& variables, std::list<std::string>& names,
                                     bool unlimited) const;

    /// @return for each event of `m_eventVars` that has one, the list predefined for it
    std::map<std::uint16_t, std::uint16_t> eventToFixedList() const;

    /// Cuts one ODT out of a frame.
    /// @param payload  what follows the header. Readable for @p length bytes; bytes from 64 on are not read
    /// but
    ///                 count as 0
    /// @param length   bytes that the frame claims; an entry that reaches beyond is left out
    /// @return the entries with their bytes; none for an unknown list or ODT
    std::vector<DaqOdtEntry> decodeOdtPayload(const std::uint8_t* payload, std::uint16_t length,
                                              std::uint16_t list, std::uint8_t odt) const;

    std::uint8_t m_timestampMode = 0;                   ///< bits 0 to 2: bytes of a DTO timestamp
    std::uint8_t m_daqListMode = 0;                     ///< 0x08 counter, 0x10 timestamp in the first ODT
    std::uint8_t m_keyByte = 0;                         ///< bits 6, 7: type of the identification field
    std::uint8_t m_daqProperties = 0;                   ///< carried only
    std::map<std::uint16_t, XcpDaqListCfg> m_listInfo;  ///< facts by DAQ list number
    std::uint64_t m_cycleStart = 0;  ///< time of the last first ODT, of whatever list: with several lists a
                                     ///< value may carry the time of another list's cycle

private:
    struct ListSlot;

    std::vector<DaqOdtPlan> fillList(std::uint8_t budget, std::uint8_t odtLimit, VariableQueue& queue,
                                     std::list<std::string>& names) const;
    std::uint32_t planEvent(std::uint16_t event, const std::uint16_t* fixedList, VariableQueue& queue,
                            std::uint32_t next, bool unlimited);
    ListSlot slotFor(std::uint16_t list, const std::uint16_t* fixedList) const;
    std::uint32_t mostListsOf(std::uint16_t event) const;
    void pollLeftOver(std::uint16_t event, std::vector<mcMeasureVariable>& variables);
    DaqFramePlace placeOf(const msgBuf& frame) const;
};

}  // namespace XCP_MOUDLE
