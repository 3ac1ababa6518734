/// @file
/// The planner's base: variables in, DAQ lists out, and back from DAQ frames to values.
#pragma once

#include "TalvexDaq.h"
#include "TalvexRecords.h"
#include "daq/DaqRecords.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

/// Turns a list of variables into a plan of DAQ lists and ODTs, and received DAQ frames into values. Sends
/// nothing itself: whoever owns a planner reads the plan and writes it to the ECU.
///
/// A start of a measurement calls reset, configure, assignVariables, planLists; then decodeDto for each
/// frame. Nothing here fails: what cannot be planned stands in `m_pollVars`, and a cycle with a gap is
/// dropped.
///
/// No lock of its own. The owner calls from one thread at a time.
class IDaq {
public:
    virtual ~IDaq();

    /// Takes over what @p cfg says of the ECU's DAQ facilities. Keeps the plan.
    virtual void configure(const EcuProtoCfg& cfg) = 0;

    /// Plans what waits in `m_eventVars`. Fills `m_daqLists` and `m_finishedNames`, and appends what does not
    /// fit to `m_pollVars`.
    /// @param unlimited  XCP: lists take ODTs without limit; CCP ignores it
    virtual void planLists(bool unlimited) = 0;

    /// Takes one DAQ frame apart and collects its pieces.
    /// @return the values of the cycle before, in name order, if @p frame opens a new cycle of a list whose
    ///         last cycle was complete; else nothing
    virtual std::vector<mcMeasureVariableValue> decodeDto(const msgBuf& frame) = 0;

    /// Sorts @p variables into `m_pollVars` (those with a period), which is emptied first, and `m_eventVars`
    /// (the others), which is not: it still holds what an earlier plan left over until `reset`.
    virtual void assignVariables(const std::vector<mcMeasureVariable>& variables);

    /// Forgets plan, events, variables and pieces. `m_finishedNames` and the limits stay: the next planLists
    /// and configure replace them.
    virtual void reset();

    /// Joins the @p pieces of one cycle of one list into whole values.
    /// @return merged records by name. Pieces are joined in the order of `fragment`; a repeated one is used
    ///         once, a missing one leaves a shorter value
    std::map<std::string, DaqOdtEntry> mergeFragments(std::vector<DaqOdtEntry> pieces) const;

    /// @return true if @p merged holds at least as many names as DAQ list @p list finishes. A list that
    ///         finishes none, or that is not planned, is complete only if @p merged is empty
    bool isCycleComplete(std::uint16_t list, const std::map<std::string, DaqOdtEntry>& merged) const;

    /// Ends the running cycle of @p list and drops its pieces.
    /// @return its values in name order, each with @p time; none if the cycle is not complete
    std::vector<mcMeasureVariableValue> closeCycle(std::uint16_t list, std::uint64_t time);

    /// @return the pieces of the running cycle of @p list, to which the caller appends those of @p odt, which
    ///         may be null
    std::vector<DaqOdtEntry>& piecesFor(std::uint16_t list, const DaqOdtPlan* odt);

    /// Looks up the first list whose range of PIDs holds @p pid. Without one the frame counts as a later ODT
    /// with index 0 of list 0.
    DaqFramePlace placeOfPid(std::uint8_t pid) const;

    /// @return the ODT with index @p odt of DAQ list @p list, or null if there is none
    const DaqOdtPlan* findOdt(std::uint16_t list, std::uint8_t odt) const;

    /// @return a copy of @p planned with its bytes out of @p payload; what lies behind the payload is 0
    static DaqOdtEntry readEntry(const DaqOdtEntry& planned, std::span<const std::uint8_t> payload);

    std::uint16_t m_maxCto = 8;                       ///< bytes of a command frame
    std::uint16_t m_maxDto = 8;                       ///< bytes of a DAQ frame (XCP)
    std::uint8_t m_maxOdtEntrySize = 6;               ///< payload bytes of an ODT (XCP); 0 is no limit
    std::uint8_t m_firstDaqList = 0;                  ///< first DAQ list number to use (CCP)
    std::uint8_t m_daqListLimit = 6;                  ///< list numbers stay below; 0 is no limit
    std::uint32_t m_packMode = 0;                     ///< how variables are cut, see PackMode.h
    std::map<std::uint16_t, DaqEventInfo> m_events;   ///< event channels by number
    std::map<std::uint16_t, DaqListPlan> m_daqLists;  ///< the plan, by DAQ list number
    std::vector<mcMeasureVariable> m_pollVars;        ///< variables that go by polling
    std::map<std::uint16_t, std::vector<mcMeasureVariable>> m_eventVars;  ///< waiting for a place, by event
    std::map<std::uint16_t, std::vector<DaqOdtEntry>> m_fragments;  ///< pieces of the running cycle, by list
    DaqFinishedNames m_finishedNames;  ///< names by event and by the list that holds their last piece

private:
    /// Names that @p list finishes; 0 for a list that is not planned.
    std::size_t finishedCount(std::uint16_t list) const;

    /// The test of isCycleComplete for a merge of @p names names.
    bool isComplete(std::uint16_t list, std::size_t names) const;

    /// By list, the order in which the last cycle's pieces were joined: a guess for the next cycle, which is
    /// checked before it is used.
    std::map<std::uint16_t, std::vector<std::uint32_t>> m_pieceOrders;
};
