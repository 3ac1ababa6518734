/// @file
/// The base of both protocol layers: one ECU's configuration, its frames, and how they are sent and awaited.
#pragma once

#include "TalvexRecords.h"
#include "daq/AddressBlock.h"
#include "decode/BasicDecode.h"
#include "transport/Deadline.h"
#include "transport/Logger.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// One ECU as far as both protocols agree. From construction to destruction its identifiers are registered,
/// so the bus's frames with them wait in the frame store.
///
/// Threads: the worker and the polling thread both come here, channel hosts from threads of their own. What
/// is not marked otherwise below is fixed after construction.
class BasicCfgTransmit {
public:
    /// Most frames that wait in `m_frames` for the worker; above it measurement frames are sacrificed.
    static constexpr std::size_t kPendingLimit = 2000;

    BasicCfgTransmit(const EcuProtoCfg& cfg, const CallBackFuns& callBacks);
    BasicCfgTransmit(const BasicCfgTransmit&) = delete;
    BasicCfgTransmit& operator=(const BasicCfgTransmit&) = delete;

    /// Releases the identifiers and drops what the store holds for them, also for an identifier that another
    /// object still has registered.
    virtual ~BasicCfgTransmit();

    /// Sends one command frame. Writes its identifier, its time and its padding.
    /// @return what `sndFun` returned, or 0 if nothing was sent
    virtual std::uint32_t sendFrame(msgBuf& frame) = 0;

    /// Waits for the response to @p request and copies it to @p response. Holds m_mutex throughout.
    /// @param timeoutMs  below 1 returns "no answer" at once
    /// @return a status of the protocol's own number space; if no answer came @p response has length 0
    virtual std::uint32_t receiveResponse(const msgBuf& request, msgBuf& response,
                                          std::int32_t timeoutMs) = 0;

    /// Sends, waits and repeats. @return true if the command may count as done
    virtual bool exchange(msgBuf& request, msgBuf& response) = 0;

    /// Asks the seed and key function for a key.
    /// @param keyLength  in: the room the function is told; out: the key's length
    /// @return true if a key was made
    virtual bool computeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength,
                            std::uint8_t* key, std::uint8_t& keyLength) = 0;

    /// Moves what the store holds for this object into `m_frames`; may wait up to 1 ms per identifier.
    void fetchFrames();

    /// Removes old responses, so that a late answer cannot be taken for the answer to the next command. DAQ
    /// frames stay.
    void dropStaleResponses();

    /// Trims `m_frames` if it is above its limit: measurement frames go, what a command might be waiting for
    /// stays.
    void discardFrames();

    /// Writes a log line to this object's log functions.
    void writeLog(std::uint32_t level, const std::string& text) const;

    /// Keeps in @p variables what `isVariableAllowed` allows and adds the names of the rest to @p rejected.
    void filterVariables(std::vector<mcMeasureVariable>& variables, std::vector<std::string>& rejected) const;

    /// @return false for address 0 where the configuration rejects it, and for size 0. A variable outside
    /// every
    ///         data segment is warned of and allowed.
    [[nodiscard]] bool isVariableAllowed(const mcMeasureVariable& variable) const;

    /// @return true if the bytes of @p block lie within @p segment, sums wrapping in 32 bits
    [[nodiscard]] static bool isInSegment(const mcMemoryInfo& segment, const AddressBlock& block);

    /// Hands values to the host. @param kind  0 answer to a read, 1 polling, 2 DAQ
    void deliverValues(std::int32_t kind, const std::vector<mcMeasureVariableValue>& values,
                       const std::vector<std::string>& rejected = {}) const;

    std::vector<msgBuf> m_frames;  ///< taken out of the store and not yet consumed; guarded by m_mutex
    std::atomic<std::uint32_t> m_lastStatus = 0;  ///< status of the last exchange
    std::recursive_mutex m_mutex;  ///< first in the lock order; held for the length of an exchange or a block
    EcuProtoCfg m_cfg;             ///< own copy. Live fields are written by commands under m_mutex
    CallBackFuns m_callBacks;      ///< own copy, log functions included
    std::unique_ptr<BasicDecode> m_decoder;  ///< by protocol
    std::uint8_t m_byteOrder = 0;            ///< not 0: multi-byte fields are swapped
    std::uint32_t m_protoType = 1;           ///< 1 is XCP
    SeedKeyFun m_lib;                        ///< the seed and key function, held only while a connect runs
    std::set<std::uint32_t> m_cmdIds;        ///< command identifiers
    std::set<std::uint32_t> m_daqIds;        ///< DAQ identifiers
    std::atomic<bool> m_linkLost = false;    ///< the object refuses to send

protected:
    /// How a protocol's frames look in the log.
    struct TraceTexts {
        std::string_view sent;      ///< ahead of a sent frame's bytes
        std::string_view received;  ///< ahead of a received frame's bytes
    };

    /// Fills a short frame up to `maxCto` if the configuration wants padding.
    /// @param capacity  bytes that a frame of the bus can have, 64 at most
    /// @return bytes that go out: with padding all of `maxCto`, so that a longer frame is cut
    std::size_t pad(msgBuf& frame, std::size_t capacity, std::uint8_t padByte) const;

    /// Whether nothing may be sent: the host has no send function, or `stopAllTask` holds the bus. Says so in
    /// the log. A frame that is refused stays as it was.
    bool refusesFrames() const;

    /// Sends @p frame: logs its first @p dumpLength bytes, stamps it, has it analysed and gives
    /// @p sentLength bytes to the host. Holds m_mutex.
    std::uint32_t transmit(msgBuf& frame, const TraceTexts& trace, std::size_t dumpLength,
                           std::size_t sentLength);

    /// Logs a response and has it analysed as the answer to @p request.
    void traceResponse(const msgBuf& request, const msgBuf& response, const TraceTexts& trace);

    /// Appends the store's frames of `canIdSlave` to `m_frames` and keeps the limit. Holds m_mutex.
    void collectResponses(bool wait);

    /// Moves the first pending frame that @p matches to @p response. Frames of length 0 that match are taken
    /// out on the way. Holds m_mutex. @return true if one was found
    bool takePending(msgBuf& response, const std::function<bool(const msgBuf&)>& matches);

    /// Waits for a response frame: looks, waits for the frame event in slices of at most @p slice, looks
    /// again, and has a last look when @p deadline is over. Ends on the stop flag. @return true if one was
    /// found
    bool awaitPending(msgBuf& response, const std::function<bool(const msgBuf&)>& matches, Deadline& deadline,
                      std::chrono::milliseconds slice);

    /// Sends @p request and waits for the response; keeps the status in `m_lastStatus`. @return the status
    std::uint32_t attempt(msgBuf& request, msgBuf& response, std::int32_t timeoutMs);

    /// How a failed exchange is repeated.
    struct RepeatRule {
        std::int32_t limit;                    ///< repeats; -1 without limit, other values below 1 none
        std::uint32_t delayMs;                 ///< pause after each failed repeat, the last included
        bool (*isDone)(std::uint32_t status);  ///< whether a status ends the repeating with success
    };

    /// Repeats an exchange that failed; the first repeat follows at once. Ends on the stop flag.
    /// @return true if a repeat succeeded
    bool repeatExchange(msgBuf& request, msgBuf& response, std::int32_t timeoutMs, const RepeatRule& rule);

    /// Marks the link as fresh, ahead of a connect.
    void resetLink();

    /// Loads the seed and key function into `m_lib`. @return false, with a line in the log, if there is none
    bool loadSeedKey(SeedKeyFun (*loader)(const char* path, const char* entry), const char* entry);

    /// Calls `m_lib` and logs seed and key. @return true if it made a key
    bool makeKey(std::uint8_t resource, std::uint8_t* seed, std::uint8_t seedLength, std::uint8_t* key,
                 std::uint8_t& keyLength);

    /// @return true if @p command stands in `supportedCmds`
    [[nodiscard]] bool isSupported(std::uint8_t command) const {
        return m_cfg.supportedCmds.contains(command);
    }

    /// Waits `retryDelayMs` between two sends, in slices, and leaves as soon as the stop flag is up.
    static void waitRetryDelay(std::uint32_t retryDelayMs);

private:
    void collectIds();
    void makeDecoder();
    void appendFrames(std::uint32_t id, bool wait);
    [[nodiscard]] std::uint8_t responseRange() const;
    [[nodiscard]] bool isMeasurement(const msgBuf& frame) const;
    [[nodiscard]] bool isExpendable(std::size_t index) const;
    void sortByTime();
};
