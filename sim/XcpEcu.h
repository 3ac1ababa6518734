/// @file
/// A simulated ECU that speaks XCP on CAN or CAN FD as a slave.
#pragma once

#include "sim/EcuFaults.h"
#include "sim/EventChannels.h"
#include "sim/Flash.h"
#include "sim/Port.h"
#include "sim/XcpDaqProcessor.h"
#include "sim/XcpEcuConfig.h"
#include "sim/XcpEcuPacket.h"
#include "sim/XcpEcuSecurity.h"

#include <array>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sim {

/// What an ECU did since it was made.
struct XcpEcuCounters {
    std::array<std::uint64_t, 256> commands{};  ///< by code; every one that arrived, heard or not
    std::uint64_t dtos = 0;                     ///< DAQ packets sent
    std::uint64_t lostDtos = 0;                 ///< DAQ packets that a fault kept back
    std::uint64_t unlocks = 0;                  ///< keys that were right
    std::uint64_t sessions = 0;                 ///< CONNECT commands that were answered positively
};

/// A node of the bus with memory, moving signals and an XCP slave on top.
///
/// Time of the ECU starts with `powerOn`. Event k of a cyclic channel happens k periods later, whether
/// anybody listens or not; a timer of the port runs only for channels with a running DAQ list.
///
/// Threads: `onFrame` and the timers run on the bus thread, everything else on any thread; one lock
/// inside serialises them. The port must be gone, or deliver nothing more, when the ECU is destroyed.
class XcpEcu : public Node {
public:
    /// @throws std::invalid_argument if no ECU can be like @p config
    explicit XcpEcu(XcpEcuConfig config);
    XcpEcu(const XcpEcu&) = delete;
    XcpEcu& operator=(const XcpEcu&) = delete;

    /// Starts the ECU at its place on the bus: `auto port = bus.attach(ecu); ecu.powerOn(*port);`
    void powerOn(Port& port);

    /// Ends the session and the ECU's time; it is deaf until the next `powerOn`. Memory stays as it is.
    /// To be called before the port goes, unless the ECU is not used any more either.
    void powerOff();

    void onFrame(const Frame& frame, Time end) override;

    /// Lets the ECU misbehave.
    void inject(const EcuFault& fault);
    void clearFaults();

    /// @p size bytes of memory as @p view sees them now, signals included; empty where there is none.
    [[nodiscard]] std::vector<std::uint8_t> read(std::uint32_t address, std::uint8_t extension,
                                                 std::size_t size, MemoryView view = MemoryView::tool);

    /// Stores bytes whatever the access rights say. @return false where there is no memory
    bool write(std::uint32_t address, std::uint8_t extension, std::span<const std::uint8_t> bytes,
               MemoryView view = MemoryView::tool);

    /// The content of a page of the segment @p segment of the configuration, whichever page is switched to.
    /// @throws std::out_of_range if there is no such page
    [[nodiscard]] std::vector<std::uint8_t> readPage(std::size_t segment, std::size_t page) const;

    /// @p size bytes of the flash, whichever page is switched to; empty where there is none.
    [[nodiscard]] std::vector<std::uint8_t> readFlash(std::uint32_t address, std::uint8_t extension,
                                                      std::size_t size) const;

    /// Events of channel @p event so far; 0 for a channel that is not cyclic or not there.
    [[nodiscard]] std::uint64_t eventIndex(std::uint16_t event) const;

    [[nodiscard]] XcpEcuCounters counters() const;
    [[nodiscard]] bool connected() const;
    [[nodiscard]] bool daqRunning() const;
    /// Between PROGRAM_START and PROGRAM_RESET.
    [[nodiscard]] bool programming() const;
    /// Mask of the resources that are closed.
    [[nodiscard]] std::uint8_t protection() const;
    /// Fixed after construction.
    [[nodiscard]] const XcpEcuConfig& config() const { return m_config; }

private:
    using Handler = XcpAnswer (XcpEcu::*)(const XcpRequest&);

    /// A command of the protocol. New groups add rows, in XcpEcuCommands.cpp.
    struct CommandRow {
        std::uint8_t code;
        std::uint8_t minLength;  ///< shorter requests are ERR_CMD_SYNTAX
        bool needsSession;       ///< not even refused without one
        std::uint8_t resource;   ///< resource it belongs to; 0: none
        Handler handler;
    };

    /// Where UPLOAD reads next: in memory, or in a text that a command left for it.
    struct TransferAddress {
        std::uint32_t address = 0;
        std::uint8_t extension = 0;
        bool inText = false;
    };

    /// What a block of the master may be like.
    struct BlockLimits {
        std::size_t elements;  ///< of one frame
        std::size_t frames;    ///< of one block; 1: there are no blocks of several frames
        Time minSt;            ///< least time between the ends of two frames
    };

    /// A DOWNLOAD or PROGRAM over several frames that is under way.
    struct Block {
        bool programs = false;
        std::size_t remaining = 0;  ///< elements still to come; 0: none under way
        std::size_t frames = 0;     ///< that came
        bool overrun = false;       ///< a frame came too early, or one too many
        Time last = 0;              ///< end of the latest frame
        std::vector<std::uint8_t> bytes{};
    };

    /// A programming sequence that is under way.
    struct Programming {
        bool started = false;
        bool segmentEnded = false;           ///< nothing can be programmed until the next SET_MTA
        bool functional = false;             ///< the area counts, not the MTA
        std::uint64_t functionalOffset = 0;  ///< bytes programmed so
    };

    static std::span<const CommandRow> commandRows();
    static const CommandRow* findRow(std::uint8_t code);

    // Frames and answers (XcpEcu.cpp)
    [[nodiscard]] bool isForMe(const Frame& frame) const;
    [[nodiscard]] XcpAnswer dispatch(const XcpRequest& request);
    void handleCommand(const XcpRequest& request);
    [[nodiscard]] XcpError refusal(const CommandRow& row) const;
    void sendAnswer(const XcpAnswer& answer, const std::vector<EcuFault>& faults);
    void sendPending(Time until);
    void sendFault(const EcuFault& fault);
    void sendEvent(std::uint8_t code);
    void sendLater(const Frame& frame, Time when);
    [[nodiscard]] Frame makeFrame(const XcpPacket& packet, std::uint32_t id) const;
    [[nodiscard]] Frame spoil(Frame frame, const std::vector<EcuFault>& faults) const;
    TimerId runAt(Time when, std::function<void()> action);
    void endSession();

    // ECU time, signals and sampling (XcpEcuEvents.cpp)
    [[nodiscard]] std::uint64_t clockAt(Time time) const;
    void moveSignals(Time time);
    void watchEvents();
    void scheduleEvent(std::uint16_t event, std::uint64_t index);
    void onEvent(std::uint16_t event, std::uint64_t index);
    void sendDtos(const std::vector<XcpDto>& dtos, Time now);
    void announceOverload();

    // Helpers of the handlers (XcpEcuStandard.cpp)
    [[nodiscard]] XcpPacket positive() const;
    [[nodiscard]] std::size_t uploadElements() const;
    [[nodiscard]] XcpError readMta(std::span<std::uint8_t> out);
    [[nodiscard]] XcpPacket uploadPacket(std::span<const std::uint8_t> data) const;
    [[nodiscard]] XcpAnswer upload(std::size_t elements, std::size_t perPacket);
    void pointToText(const std::string& text);
    void finishRequest(std::uint8_t request);
    [[nodiscard]] static XcpError toError(MemoryResult result);

    // Standard commands (XcpEcuStandard.cpp)
    XcpAnswer onConnect(const XcpRequest& request);
    XcpAnswer onDisconnect(const XcpRequest& request);
    XcpAnswer onGetStatus(const XcpRequest& request);
    XcpAnswer onSynch(const XcpRequest& request);
    XcpAnswer onGetCommModeInfo(const XcpRequest& request);
    XcpAnswer onGetId(const XcpRequest& request);
    XcpAnswer onSetRequest(const XcpRequest& request);
    XcpAnswer onGetSeed(const XcpRequest& request);
    XcpAnswer onUnlock(const XcpRequest& request);
    XcpAnswer onSetMta(const XcpRequest& request);
    XcpAnswer onUpload(const XcpRequest& request);
    XcpAnswer onShortUpload(const XcpRequest& request);
    XcpAnswer onBuildChecksum(const XcpRequest& request);
    XcpAnswer onTransportLayerCmd(const XcpRequest& request);

    // Data acquisition (XcpEcuDaq.cpp)
    [[nodiscard]] XcpAnswer done(XcpError error) const;
    XcpAnswer onClearDaqList(const XcpRequest& request);
    XcpAnswer onSetDaqPtr(const XcpRequest& request);
    XcpAnswer onWriteDaq(const XcpRequest& request);
    XcpAnswer onWriteDaqMultiple(const XcpRequest& request);
    XcpAnswer onReadDaq(const XcpRequest& request);
    XcpAnswer onSetDaqListMode(const XcpRequest& request);
    XcpAnswer onGetDaqListMode(const XcpRequest& request);
    XcpAnswer onStartStopDaqList(const XcpRequest& request);
    XcpAnswer onStartStopSynch(const XcpRequest& request);
    XcpAnswer onGetDaqClock(const XcpRequest& request);
    XcpAnswer onGetDaqProcessorInfo(const XcpRequest& request);
    XcpAnswer onGetDaqResolutionInfo(const XcpRequest& request);
    XcpAnswer onGetDaqListInfo(const XcpRequest& request);
    XcpAnswer onGetDaqEventInfo(const XcpRequest& request);
    XcpAnswer onFreeDaq(const XcpRequest& request);
    XcpAnswer onAllocDaq(const XcpRequest& request);
    XcpAnswer onAllocOdt(const XcpRequest& request);
    XcpAnswer onAllocOdtEntry(const XcpRequest& request);
    XcpAnswer onGetDaqId(const XcpRequest& request);
    XcpAnswer onSetDaqId(const XcpRequest& request);

    // Calibration and paging (XcpEcuCalibration.cpp, XcpEcuPaging.cpp)
    [[nodiscard]] XcpError writeMta(std::span<const std::uint8_t> bytes);
    [[nodiscard]] std::size_t blockHeader() const;
    [[nodiscard]] BlockLimits blockLimits(bool programs) const;
    [[nodiscard]] XcpAnswer startBlock(const XcpRequest& request, bool programs);
    [[nodiscard]] XcpAnswer continueBlock(const XcpRequest& request);
    [[nodiscard]] XcpAnswer takeBlock(const XcpRequest& request);
    [[nodiscard]] XcpAnswer sequenceError() const;
    [[nodiscard]] MemorySegment* calibrationSegment(std::uint8_t number);
    [[nodiscard]] XcpError checkPage(std::uint8_t segment, std::uint8_t page);
    [[nodiscard]] XcpAnswer segmentBasics(const MemorySegment& segment, std::uint8_t what) const;
    XcpAnswer onDownload(const XcpRequest& request);
    XcpAnswer onDownloadNext(const XcpRequest& request);
    XcpAnswer onDownloadMax(const XcpRequest& request);
    XcpAnswer onShortDownload(const XcpRequest& request);
    XcpAnswer onModifyBits(const XcpRequest& request);
    XcpAnswer onSetCalPage(const XcpRequest& request);
    XcpAnswer onGetCalPage(const XcpRequest& request);
    XcpAnswer onGetPagProcessorInfo(const XcpRequest& request);
    XcpAnswer onGetSegmentInfo(const XcpRequest& request);
    XcpAnswer onGetPageInfo(const XcpRequest& request);
    XcpAnswer onSetSegmentMode(const XcpRequest& request);
    XcpAnswer onGetSegmentMode(const XcpRequest& request);
    XcpAnswer onCopyCalPage(const XcpRequest& request);

    // Programming (XcpEcuProgram.cpp)
    [[nodiscard]] bool keepsBlock(std::uint8_t code) const;
    [[nodiscard]] XcpAnswer flashAnswer(FlashResult result) const;
    [[nodiscard]] XcpAnswer programBytes(std::span<const std::uint8_t> bytes);
    [[nodiscard]] XcpAnswer clearAreas(std::uint32_t areas);
    [[nodiscard]] XcpError checkProgramming() const;
    [[nodiscard]] std::vector<std::size_t> sectorsOf(std::uint16_t verificationType) const;
    XcpAnswer onProgramStart(const XcpRequest& request);
    XcpAnswer onProgramClear(const XcpRequest& request);
    XcpAnswer onProgram(const XcpRequest& request);
    XcpAnswer onProgramNext(const XcpRequest& request);
    XcpAnswer onProgramMax(const XcpRequest& request);
    XcpAnswer onProgramReset(const XcpRequest& request);
    XcpAnswer onProgramPrepare(const XcpRequest& request);
    XcpAnswer onProgramFormat(const XcpRequest& request);
    XcpAnswer onProgramVerify(const XcpRequest& request);
    XcpAnswer onGetPgmProcessorInfo(const XcpRequest& request);
    XcpAnswer onGetSectorInfo(const XcpRequest& request);

    const XcpEcuConfig m_config;  ///< fixed after construction

    /// Guards everything below. Rank: ahead of the locks of the bus, for it is held while frames are
    /// handed to the port and timers are set. No circle arises, since a bus calls its nodes with no
    /// lock of its own that these calls need.
    mutable std::mutex m_mutex;
    Port* m_port = nullptr;          ///< null: without power
    std::uint64_t m_powerCycle = 0;  ///< timers of an earlier one do nothing
    Time m_start = 0;                ///< bus time of `powerOn`
    Time m_commandEnd = 0;           ///< bus time at which the command at hand was complete
    Time m_lastAnswer = 0;           ///< when the latest answer leaves; answers do not overtake each other
    Memory m_memory;
    Flash m_flash;  ///< in m_memory
    Signals m_signals;
    XcpEcuSecurity m_security;
    XcpDaqProcessor m_daq;
    EventChannels m_events;
    EcuFaults m_faults;
    XcpEcuCounters m_counters;
    std::vector<TimerId> m_eventTimers;      ///< by channel; 0: not running
    std::vector<std::uint64_t> m_scheduled;  ///< event number of that timer, by channel
    bool m_connected = false;
    std::uint8_t m_requests = 0;  ///< store and clear requests that are not done yet
    std::uint16_t m_sessionConfigId = 0;
    TransferAddress m_mta;
    std::string m_text;  ///< what an MTA `inText` reads
    Block m_block;
    Programming m_programming;
};

}  // namespace sim
