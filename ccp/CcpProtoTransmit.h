/// @file
/// The layer that speaks CCP on CAN for one ECU: counter, send, wait, repeat, and one function per command.
#pragma once

#include "TalvexRecords.h"
#include "ccp/CcpCommand.h"
#include "ccp/CcpDaq.h"
#include "transport/BasicCfgTransmit.h"
#include "transport/FrameFields.h"

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

namespace CCP_MOUDLE {

/// One CCP station. Byte 0 of a command is its code, byte 1 the counter; byte 0 of a response is 0xFF, byte 1
/// the return code, byte 2 the echoed counter, data starts at byte 3. Wire layouts are those of CCP 2.1.
///
/// Command functions (`cmd...`) return 0 for success and 1 for failure, if not said otherwise. Outputs are
/// written on success only. Any thread; each holds m_mutex from counter to response.
///
/// The link: `m_linkLost` goes up with the first status of class 5, before any repeat, and stays up even if a
/// repeat wins: every later exchange fails until the session layer clears it.
class CcpProtoTransmit : public BasicCfgTransmit {
public:
    /// Room for a key inside: all that an 8-bit length can say.
    static constexpr std::size_t kKeyRoom = 256;
    /// Room for a key that the seed and key function is told.
    static constexpr std::uint8_t kToldKeyRoom = 124;
    /// What the frame of a PROGRAM_6 carries.
    static constexpr std::size_t kProgram6Size = 6;

    CcpProtoTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);

    std::uint32_t sendFrame(msgBuf& frame) override;

    /// @return 0, the ECU's return code, or 128 for no answer in time. An error is taken whatever its counter
    ///         says, a positive response only with the counter of @p request.
    std::uint32_t receiveResponse(const msgBuf& request, msgBuf& response, std::int32_t timeoutMs) override;

    bool exchange(msgBuf& request, msgBuf& response) override;

    bool computeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength, std::uint8_t* key,
                    std::uint8_t& keyLength) override;

    /// @return milliseconds to wait for a command: `timeoutMs` if it is set, else the command's own
    [[nodiscard]] std::int32_t commandTimeout(std::uint8_t code) const;

    /// @return what @p status means for the repeating of a command
    [[nodiscard]] static StatusClass statusClass(std::uint32_t status);

    // Session.
    std::uint32_t cmdConnect(std::uint16_t stationAddress);
    /// @return what the exchange returned: true if it counts as done
    bool cmdDisconnect(std::uint16_t stationAddress);
    /// @param isVersion2  written on success: the ECU speaks CCP 2.x
    std::uint32_t cmdGetCcpVersion(bool& isVersion2);
    /// @param slaveIdLength  bytes of the slave identification, to be uploaded from where the MTA then stands
    /// @param resources      resources that are there and protected
    std::uint32_t cmdExchangeId(const std::array<std::uint8_t, 6>& masterId, std::uint8_t& slaveIdLength,
                                std::uint8_t& resources);
    std::uint32_t cmdSetSStatus(std::uint8_t status);
    std::uint32_t cmdGetSStatus(std::uint8_t& status);
    /// @param response  the whole response: byte 3 the protection status, the seed from byte 4 on
    std::uint32_t cmdGetSeed(std::uint8_t resource, msgBuf& response);
    std::uint32_t cmdUnlock(const std::uint8_t* key, std::uint8_t keyLength);
    /// Fetches a seed, computes and sends the key; a resource that the ECU calls free needs none.
    std::uint32_t unlockResource(std::uint8_t resource);

    // Memory.
    std::uint32_t cmdSetMta(std::uint32_t address, std::uint8_t extension);
    std::uint32_t cmdDnload(const std::uint8_t* source, std::uint8_t count);
    std::uint32_t cmdGetActiveCalPage(std::uint32_t& address, std::uint8_t& extension);
    std::uint32_t cmdSelectCalPage();
    /// @param count  in: bytes wanted; out: bytes that came
    std::uint32_t cmdShortUp(std::uint32_t address, std::uint8_t extension, std::uint8_t* destination,
                             std::uint8_t& count);
    /// @param capacity  in: room at @p checksum; out: bytes copied
    std::uint32_t cmdBuildChksum(std::uint32_t blockSize, std::uint8_t* checksum, std::uint8_t& capacity);
    /// The size is never swapped, unlike that of MOVE and BUILD_CHKSUM: the ECUs this serves want it so.
    std::uint32_t cmdClearMemory(std::uint32_t size);
    std::uint32_t cmdMove(std::uint32_t size);
    std::uint32_t cmdProgram(const std::uint8_t* source, std::uint8_t count);
    /// Sends six bytes. @return 6, whatever the ECU said
    std::uint32_t cmdProgram6(const std::uint8_t* source);
    /// Asks for @p count bytes from the MTA by UPLOAD. No repeats; looks at no link and keeps no status.
    std::uint32_t cmdUpload(std::uint8_t count, msgBuf& response);
    /// Reads from the MTA by `cmdUpload`, as often as it takes, until one brings nothing. @return bytes read
    std::uint32_t uploadBlock(std::uint8_t* destination, std::uint32_t length);
    /// The same into a buffer that grows with what arrives.
    std::uint32_t uploadBlock(std::vector<std::uint8_t>& destination, std::uint32_t length);
    /// Writes to the MTA by DNLOAD, or by PROGRAM if @p program is set, until a frame fails. That is not
    /// reported.
    void downloadBytes(std::uint8_t length, const std::uint8_t* source, bool program);
    /// Programs from the MTA on until a frame fails. @return bytes sent or attempted
    std::uint8_t programBytes(std::uint8_t length, const std::uint8_t* source);

    // DAQ.
    std::uint32_t cmdGetDaqSize(std::uint8_t list, std::uint32_t canId, std::uint8_t& odtCount,
                                std::uint8_t& firstPid);
    std::uint32_t cmdSetDaqPtr(std::uint8_t list, std::uint8_t odt, std::uint8_t element);
    std::uint32_t cmdWriteDaq(std::uint8_t size, std::uint8_t extension, std::uint32_t address);
    std::uint32_t cmdStartStop(std::uint8_t mode, std::uint8_t list, std::uint8_t lastOdt, std::uint8_t event,
                               std::uint16_t prescaler);
    /// Stops all lists; it cannot start them.
    std::uint32_t cmdStartStopAll();

    std::uint8_t m_commandCounter = 0;   ///< counter of the next command; runs for the life of the object
    CcpDaq m_daq;                        ///< planner; guarded by m_mutex while frames are decoded
    std::uint64_t m_lastStatusPoll = 0;  ///< microseconds, the last keep-alive; worker thread

private:
    std::uint32_t uploadTo(const std::function<std::uint8_t*(std::uint32_t total)>& roomFor,
                           std::uint32_t length);
    CommandFrame command(std::uint8_t code, std::uint16_t length);
    CommandFrame dataCommand(std::uint8_t code, const std::uint8_t* source, std::uint8_t count);
    std::uint32_t run(CommandFrame& frame, msgBuf& response);
    std::uint32_t run(CommandFrame& frame);
    std::uint8_t sendData(std::uint8_t code, std::uint8_t length, const std::uint8_t* source);
    [[nodiscard]] std::int32_t repeatLimit(StatusClass first) const;
};

}  // namespace CCP_MOUDLE
