/// @file
/// A simulated ECU that speaks CCP 2.1 on CAN as a station.
#pragma once

#include "sim/CcpDaqProcessor.h"
#include "sim/CcpEcuConfig.h"
#include "sim/CcpEcuPacket.h"
#include "sim/CcpEcuSecurity.h"
#include "sim/EcuFaults.h"
#include "sim/EventChannels.h"
#include "sim/Flash.h"
#include "sim/Port.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace sim {

/// What an ECU did since it was made.
struct CcpEcuCounters {
    std::array<std::uint64_t, 256> commands{};  ///< by code; every one that was meant for it, heard or not
    std::uint64_t dtos = 0;                     ///< DAQ packets sent
    std::uint64_t lostDtos = 0;                 ///< DAQ packets that a fault kept back
    std::uint64_t unlocks = 0;                  ///< keys that were right
    std::uint64_t sessions = 0;                 ///< CONNECT commands that were answered positively
};

/// A node of the bus with memory, moving signals and a CCP station on top.
///
/// Several stations may listen to one command identifier. CONNECT names the station that answers from
/// then on; the others are off line until their own CONNECT, but keep their session and their DAQ:
///
///     fresh --CONNECT--> connected --DISCONNECT temporary, CONNECT of another--> off line
///       ^                  |    ^                                                  |
///       +--end of session--+    +--------------------CONNECT-----------------------+
///
/// Time of the ECU starts with `powerOn`. Event k of a cyclic channel happens k periods later, whether
/// anybody listens or not; a timer of the port runs only for channels with a running DAQ list.
///
/// Threads: `onFrame` and the timers run on the bus thread, everything else on any thread; one lock
/// inside serialises them. The port must be gone, or deliver nothing more, when the ECU is destroyed.
class CcpEcu : public Node {
public:
    /// @throws std::invalid_argument if no ECU can be like @p config
    explicit CcpEcu(CcpEcuConfig config);
    CcpEcu(const CcpEcu&) = delete;
    CcpEcu& operator=(const CcpEcu&) = delete;

    /// Starts the ECU at its place on the bus: `auto port = bus.attach(ecu); ecu.powerOn(*port);`
    /// DAQ lists that a session saved with its RESUME bit run from here on.
    void powerOn(Port& port);

    /// Ends the session and the ECU's time; it is deaf until the next `powerOn`. Memory stays as it is.
    /// To be called before the port goes, unless the ECU is not used any more either.
    void powerOff();

    void onFrame(const Frame& frame, Time end) override;

    /// Lets the ECU misbehave.
    void inject(const EcuFault& fault);
    void clearFaults();

    /// @p size bytes of memory, signals included; empty where there is none.
    [[nodiscard]] std::vector<std::uint8_t> read(std::uint32_t address, std::uint8_t extension,
                                                 std::size_t size);

    /// Stores bytes whatever the access rights say. @return false where there is no memory
    bool write(std::uint32_t address, std::uint8_t extension, std::span<const std::uint8_t> bytes);

    /// Events of channel @p event so far; 0 for a channel that is not cyclic or not there.
    [[nodiscard]] std::uint64_t eventIndex(std::uint8_t event) const;

    [[nodiscard]] CcpEcuCounters counters() const;
    [[nodiscard]] bool connected() const;
    [[nodiscard]] bool daqRunning() const;
    /// Mask of the resources that are closed.
    [[nodiscard]] std::uint8_t protection() const;
    /// As SET_S_STATUS left it.
    [[nodiscard]] std::uint8_t sessionStatus() const;
    /// The page that the ECU's own code works with; nothing for an ECU without pages.
    [[nodiscard]] std::optional<CcpCalPage> activePage() const;
    /// Fixed after construction.
    [[nodiscard]] const CcpEcuConfig& config() const { return m_config; }

private:
    using Handler = CcpAnswer (CcpEcu::*)(const CcpRequest&);

    /// A command of the protocol; the rows are in CcpEcuCommands.cpp.
    struct CommandRow {
        std::uint8_t code;
        const char* name;
        std::uint8_t minLength;  ///< shorter requests are a syntax error
        bool optional;           ///< an ECU may do without it
        std::uint8_t resource;   ///< resource it belongs to; 0: none
        Handler handler;
    };

    /// A memory transfer address: in memory, or in a text that a command left for UPLOAD.
    struct TransferAddress {
        std::uint32_t address = 0;
        std::uint8_t extension = 0;
        bool inText = false;
    };

    static std::span<const CommandRow> commandRows();
    static const CommandRow* findRow(std::uint8_t code);
    static CcpEcuConfig checked(CcpEcuConfig config);

    // Frames and answers (CcpEcu.cpp)
    [[nodiscard]] bool isForMe(const Frame& frame) const;
    [[nodiscard]] bool isAddressed(const CcpRequest& request);
    void handleCommand(const CcpRequest& request);
    [[nodiscard]] CcpAnswer run(const CcpRequest& request, const std::vector<EcuFault>& faults);
    [[nodiscard]] CcpAnswer dispatch(const CcpRequest& request);
    void sendAnswer(const CcpRequest& request, const CcpAnswer& answer, const std::vector<EcuFault>& faults);
    [[nodiscard]] Time answerTime(const std::vector<EcuFault>& faults) const;
    void sendEvent(std::uint8_t code, std::span<const std::uint8_t> data);
    void sendLater(const Frame& frame, Time when);
    [[nodiscard]] Frame makeFrame(std::span<const std::uint8_t> bytes, const CcpCanId& id) const;
    [[nodiscard]] Frame spoil(Frame frame, const std::vector<EcuFault>& faults) const;
    TimerId runAt(Time when, std::function<void()> action);
    [[nodiscard]] Time busyUntil() const;
    void endSession(bool keepDaq);
    [[nodiscard]] bool wantsResume() const;

    // Signals and sampling (CcpEcuEvents.cpp)
    void moveSignals(Time time);
    void watchEvents();
    void dropEventTimers();
    void scheduleEvent(std::uint8_t event, std::uint64_t index);
    void onEvent(std::uint8_t event, std::uint64_t index);
    void sendDtos(const std::vector<CcpDto>& dtos, Time now);

    // Session and security (CcpEcuSession.cpp)
    [[nodiscard]] CcpPacket packet() const { return CcpPacket(m_config.byteOrder); }
    void pointToText(const std::string& text);
    [[nodiscard]] CcpAnswer serve(const std::map<std::uint16_t, CcpService>& services,
                                  const CcpRequest& request);
    [[nodiscard]] bool isMyAddress(const CcpRequest& request, std::size_t at) const;
    CcpAnswer onConnect(const CcpRequest& request);
    CcpAnswer onTest(const CcpRequest& request);
    CcpAnswer onDisconnect(const CcpRequest& request);
    CcpAnswer onGetCcpVersion(const CcpRequest& request);
    CcpAnswer onExchangeId(const CcpRequest& request);
    CcpAnswer onGetSeed(const CcpRequest& request);
    CcpAnswer onUnlock(const CcpRequest& request);
    CcpAnswer onSetSStatus(const CcpRequest& request);
    CcpAnswer onGetSStatus(const CcpRequest& request);
    CcpAnswer onDiagService(const CcpRequest& request);
    CcpAnswer onActionService(const CcpRequest& request);

    // Memory, calibration pages and flash (CcpEcuMemory.cpp, CcpEcuFlash.cpp)
    [[nodiscard]] static CcpReturn toReturn(MemoryResult result);
    [[nodiscard]] CcpAnswer mtaAnswer(CcpReturn code) const;
    [[nodiscard]] CcpAnswer download(std::span<const std::uint8_t> data);
    [[nodiscard]] CcpAnswer upload(TransferAddress& from, std::size_t size);
    CcpAnswer onSetMta(const CcpRequest& request);
    CcpAnswer onDnload(const CcpRequest& request);
    CcpAnswer onDnload6(const CcpRequest& request);
    CcpAnswer onUpload(const CcpRequest& request);
    CcpAnswer onShortUp(const CcpRequest& request);
    CcpAnswer onMove(const CcpRequest& request);
    CcpAnswer onBuildChksum(const CcpRequest& request);
    CcpAnswer onSelectCalPage(const CcpRequest& request);
    CcpAnswer onGetActiveCalPage(const CcpRequest& request);
    [[nodiscard]] CcpReturn toReturn(FlashResult result) const;
    [[nodiscard]] CcpAnswer program(std::span<const std::uint8_t> data);
    CcpAnswer onClearMemory(const CcpRequest& request);
    CcpAnswer onProgram(const CcpRequest& request);
    CcpAnswer onProgram6(const CcpRequest& request);

    // Data acquisition (CcpEcuDaq.cpp)
    CcpAnswer onGetDaqSize(const CcpRequest& request);
    CcpAnswer onSetDaqPtr(const CcpRequest& request);
    CcpAnswer onWriteDaq(const CcpRequest& request);
    CcpAnswer onStartStop(const CcpRequest& request);
    CcpAnswer onStartStopAll(const CcpRequest& request);

    const CcpEcuConfig m_config;  ///< fixed after construction

    /// Guards everything below. Rank: ahead of the locks of the bus, for it is held while frames are
    /// handed to the port and timers are set. No circle arises, since a bus calls its nodes with no
    /// lock of its own that these calls need.
    mutable std::mutex m_mutex;
    Port* m_port = nullptr;          ///< null: without power
    std::uint64_t m_powerCycle = 0;  ///< timers of an earlier one do nothing
    Time m_commandEnd = 0;           ///< bus time at which the command at hand was complete
    Time m_lastAnswer = 0;           ///< when the latest answer leaves; answers do not overtake each other
    Time m_serviceEnd = 0;           ///< when the service at hand is done
    Memory m_memory;
    Flash m_flash;
    Signals m_signals;
    EventChannels m_events;
    CcpEcuSecurity m_security;
    CcpDaqProcessor m_daq;
    EcuFaults m_faults;
    CcpEcuCounters m_counters;
    std::vector<TimerId> m_eventTimers;      ///< by channel; 0: not running
    std::vector<std::uint64_t> m_scheduled;  ///< event number of that timer, by channel
    bool m_connected = false;
    std::uint8_t m_status = 0;               ///< session status bits
    std::array<TransferAddress, 2> m_mta{};  ///< by number
    std::string m_text;                      ///< what an MTA `inText` reads
    std::size_t m_activePage = 0;            ///< into the pages of the configuration
};

}  // namespace sim
