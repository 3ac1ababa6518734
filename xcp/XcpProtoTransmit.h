/// @file
/// The layer that speaks XCP on CAN for one ECU: one function per command, send, wait, repeat.
#pragma once

#include "TalvexRecords.h"
#include "transport/BasicCfgTransmit.h"
#include "transport/FrameFields.h"
#include "xcp/XcpCommand.h"
#include "xcp/XcpDaq.h"

#include <array>
#include <cstdint>
#include <functional>

namespace XCP_MOUDLE {

/// One XCP slave. A CTO is the data field of one CAN or CAN FD frame; there is no header, counter or tail.
/// Wire layouts are those of ASAM MCD-1 XCP.
///
/// Command functions (`cmd...`) return 0 for success and 1 for failure, if not said otherwise. What they keep
/// of a response goes into the live fields of `m_cfg.xcp`; a failed one changes nothing. All may be called
/// from any thread: m_mutex is held for the length of an exchange, by the block helpers for their whole
/// length. Counts of the block helpers are 8 bits wide; granularity is the bytes per address unit, where 0
/// counts as 1.
///
/// The link: `m_linkLost` goes up when an exchange ended without an answer; from then on every exchange fails
/// at once, with nothing sent, until the session layer clears the flag.
class XcpProtoTransmit : public BasicCfgTransmit {
public:
    /// Room for a seed inside: a 255-byte seed plus the rest of its last frame.
    static constexpr std::size_t kSeedRoom = 320;
    /// Room for a key inside: all that an 8-bit length can say.
    static constexpr std::size_t kKeyRoom = 256;
    /// Room for a key that the seed and key function is told.
    static constexpr std::uint8_t kToldKeyRoom = 124;
    /// Room that the destination of a SHORT_UPLOAD must have: the copy is as long as the frame.
    static constexpr std::size_t kFrameRoom = 64;

    XcpProtoTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);

    std::uint32_t sendFrame(msgBuf& frame) override;

    /// @param response  gets the last answer, a busy one included; its length is 0 if none came
    /// @return 256 for a positive response, the ECU's error code 1 to 255, or 2304 for no answer in time. A
    ///         busy answer starts `t7` afresh, as often as it comes; ERR_CMD_SYNCH counts as success.
    std::uint32_t receiveResponse(const msgBuf& request, msgBuf& response, std::int32_t timeoutMs) override;

    bool exchange(msgBuf& request, msgBuf& response) override;

    bool computeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength, std::uint8_t* key,
                    std::uint8_t& keyLength) override;

    /// Writes a line to the log if the link counts as lost. Takes no lock: log functions run without it.
    /// @return whether the link counts as lost
    bool refusesToSend();

    /// @return milliseconds to wait for a command, from `t1` to `t6`
    [[nodiscard]] std::uint16_t commandTimeout(std::uint8_t pid, std::uint8_t secondByte) const;

    // Session.
    std::uint32_t cmdConnect(std::uint8_t mode);
    std::uint32_t cmdDisconnect();
    std::uint32_t cmdGetStatus();
    std::uint32_t cmdSynch();
    std::uint32_t cmdGetCommModeInfo();

    // Memory.
    std::uint32_t cmdSetMta(std::uint32_t address, std::uint8_t extension);
    /// @param checksum  written on success: the ECU's checksum, bytes 4 to 7, never swapped
    std::uint32_t cmdBuildChecksum(std::uint32_t blockSize, std::uint32_t& checksum);
    std::uint32_t cmdSetCalPage(std::uint8_t mode, std::uint8_t segment, std::uint8_t page);
    std::uint32_t cmdCopyCalPage(std::uint8_t sourceSegment, std::uint8_t sourcePage,
                                 std::uint8_t targetSegment, std::uint8_t targetPage);

    // DAQ.
    std::uint32_t cmdClearDaqList(std::uint16_t list);
    std::uint32_t cmdSetDaqPtr(std::uint16_t list, std::uint8_t odt, std::uint8_t entry);
    std::uint32_t cmdWriteDaq(std::uint8_t bitOffset, std::uint8_t size, std::uint8_t extension,
                              std::uint32_t address);
    std::uint32_t cmdSetDaqListMode(std::uint8_t mode, std::uint16_t list, std::uint16_t event,
                                    std::uint8_t prescaler, std::uint8_t priority);
    std::uint32_t cmdStartStopDaqList(std::uint8_t mode, std::uint16_t list);
    std::uint32_t cmdStartStopSynch(std::uint8_t mode);
    std::uint32_t cmdGetDaqClock();
    std::uint32_t cmdGetDaqProcessorInfo();
    std::uint32_t cmdGetDaqResolutionInfo();
    /// Reads the event's name along, whose failure is not reported.
    std::uint32_t cmdGetDaqEventInfo(std::uint8_t event);
    std::uint32_t cmdFreeDaq();
    std::uint32_t cmdAllocDaq(std::uint16_t count);
    std::uint32_t cmdAllocOdt(std::uint16_t list, std::uint8_t count);
    std::uint32_t cmdAllocOdtEntry(std::uint16_t list, std::uint8_t odt, std::uint8_t count);

    // Programming.
    std::uint32_t cmdProgramStart();
    std::uint32_t cmdProgramClear(std::uint8_t mode, std::uint32_t size);
    std::uint32_t cmdProgramReset();

    // Seed and key.
    /// Fetches a seed. Padding bytes of a frame become part of it; a seed that broke off is used as it
    /// stands, one that passes 255 bytes ends there.
    /// @param seed    room for kSeedRoom bytes
    /// @param length  the seed's length
    /// @return 0 if any byte arrived, else 1
    std::uint32_t getSeed(std::uint8_t resource, std::uint8_t* seed, std::uint8_t& length);
    /// Sends a key in as many UNLOCK frames as it takes. A key of no bytes sends nothing and succeeds.
    std::uint32_t sendKey(const std::uint8_t* key, std::uint8_t keyLength);
    /// Seed, key and unlock of one resource. @return 0 or 1
    std::uint32_t unlockResource(std::uint8_t resource);
    /// Reads one GET_SEED response for a caller who runs the loop itself.
    /// @param seed    room for kFrameRoom bytes
    /// @param length  in and out: bytes of seed
    /// @return true when the seed is complete
    bool parseSeedResponse(bool isFollowUp, const msgBuf& response, std::uint8_t* seed, std::uint8_t& length);

    // Transfers.
    /// Reads from the MTA by UPLOAD. No repeats; leaves `m_lastStatus` and `m_linkLost` alone.
    /// @return bytes stored, at most @p count
    std::uint8_t uploadBlock(std::uint8_t* destination, std::uint8_t count, std::uint8_t granularity);
    /// Reads @p count bytes from the MTA for a caller who wants the response: the last positive one becomes
    /// `m_lastResponse`. On a lost link nothing is sent. @return bytes that came
    std::uint8_t cmdUpload(std::uint8_t count);
    /// Reads by SHORT_UPLOAD. The copy is as long as the frame: @p destination needs kFrameRoom bytes.
    std::uint32_t shortUpload(std::uint32_t address, std::uint8_t extension, std::uint8_t* destination,
                              std::uint8_t count, std::uint8_t granularity);
    /// Forms a DOWNLOAD frame. @return bytes placed in it
    std::uint8_t fillDownloadFrame(msgBuf& frame, const std::uint8_t* source, std::uint8_t count,
                                   std::uint8_t granularity) const;
    /// Forms a frame of a sequence in block mode: byte 1 is what is still to come, this frame included.
    /// @return bytes placed in it
    std::uint8_t fillBlockFrame(msgBuf& frame, const std::uint8_t* source, std::uint8_t count,
                                std::uint8_t granularity) const;
    /// Forms a frame full of data; the caller sets byte 0. @param source  `maxCto` bytes less the header
    /// @return bytes placed in it
    std::uint8_t fillMaxFrame(msgBuf& frame, const std::uint8_t* source, std::uint8_t granularity) const;
    /// Writes to the MTA, each frame with its response. @return bytes sent, the last frame's counted even if
    /// it
    ///         failed
    std::uint8_t downloadPlain(const std::uint8_t* source, std::uint8_t count, std::uint8_t granularity);
    /// Writes to the MTA in master block mode, MIN_ST apart, one response at the end. @return bytes sent, 0
    /// if the
    ///         ECU did not agree
    std::uint8_t downloadBlock(const std::uint8_t* source, std::uint8_t count, std::uint8_t granularity);
    /// As `downloadPlain`, with PROGRAM.
    std::uint8_t programPlain(const std::uint8_t* source, std::uint8_t count, std::uint8_t granularity);
    /// PROGRAM, then DOWNLOAD_NEXT frames back to back, one response at the end. @return as `downloadBlock`
    std::uint8_t programBlock(const std::uint8_t* source, std::uint8_t count, std::uint8_t granularity);
    /// PROGRAM, then PROGRAM_NEXT frames back to back, one response at the end. @return as `downloadBlock`
    std::uint8_t programBlockNext(const std::uint8_t* source, std::uint8_t count, std::uint8_t granularity);

    msgBuf m_lastResponse;  ///< last response that a first attempt received with success; guarded by m_mutex
    XcpDaq m_daq;           ///< planner; guarded by m_mutex while frames are decoded

protected:
    /// Runs one command; false and true become 1 and 0.
    std::uint32_t run(CommandFrame& command, msgBuf& response);
    std::uint32_t run(CommandFrame& command);
    std::uint32_t run(CommandFrame&& command) { return run(command); }

    /// Runs one command and, if it succeeded, has @p keep store what its response says under m_mutex.
    std::uint32_t runAndKeep(CommandFrame command, const std::function<void(const msgBuf&)>& keep);

private:
    struct BlockForm;

    void takeSlaveLimits(const msgBuf& response);
    void takeEventInfo(std::uint8_t event, const msgBuf& response);
    std::uint8_t shortUploadElements(std::uint8_t count);
    std::uint8_t uploadPlain(std::uint8_t* destination, std::uint8_t count, std::uint8_t granularity,
                             msgBuf& last);
    std::uint8_t uploadSlaveBlock(std::uint8_t* destination, std::uint8_t count, std::uint8_t granularity,
                                  msgBuf& last);
    std::uint8_t upload(std::uint8_t* destination, std::uint8_t count, std::uint8_t granularity,
                        msgBuf& last);
    std::uint8_t sendPlain(std::uint8_t code, const std::uint8_t* source, std::uint8_t count,
                           std::uint8_t granularity);
    std::uint8_t sendBlock(const BlockForm& form, const std::uint8_t* source, std::uint8_t count,
                           std::uint8_t granularity);
};

}  // namespace XCP_MOUDLE
