/// @file
/// What the frame analysis of both protocols shares: building the record of a frame and handing it to the
/// host.
#pragma once

#include "TalvexRecords.h"

#include <cstdint>
#include <string_view>
#include <vector>

/// Analyses the frames of one ECU and hands each to `msgDecodeFun`. Holds nothing between frames. The
/// callback runs on the thread that calls the operation. Without a `msgDecodeFun` every operation returns at
/// once: nobody could see its result.
class BasicDecode {
public:
    virtual ~BasicDecode() = default;

    /// Analyses a response.
    /// @param lastCmd  byte 0 of the command that @p msg answers; responses do not tell by themselves
    virtual void resMsgAnalyse(std::uint8_t lastCmd, const msgBuf& msg) = 0;

    /// Analyses a command that this master sends.
    virtual void ctoMsgAnalyse(const msgBuf& msg) = 0;

    /// Analyses an event. Does nothing for a protocol without events.
    virtual void eventMsgAnalyse(const msgBuf& msg) = 0;

    CallBackFuns m_callBacks;  ///< set before use
    bool swapBytes = false;    ///< true: the ECU's numbers are big endian; set before use

protected:
    /// What the record of a frame holds beside its fields.
    struct FrameFacts {
        std::string_view titlePrefix;  ///< put in front of the title that the routine found
        std::uint8_t command = 0;      ///< `mcDecodeMsg::command`
        bool withData = true;          ///< false leaves `mcDecodeMsg::data` empty
    };

    /// Runs @p routine, which takes the `mcDecodeMsg` and returns the fields, and delivers the record.
    template <class Routine>
    void analyse(const FrameFacts& facts, const msgBuf& msg, Routine routine) const {
        if (m_callBacks.msgDecodeFun == nullptr) {
            return;
        }
        mcDecodeMsg record;
        std::vector<mcDecodeField> fields = routine(record);
        deliver(facts, msg, record, fields);
    }

private:
    /// Completes @p record by @p facts, @p msg and, behind the fields it has, @p fields; calls the host.
    void deliver(const FrameFacts& facts, const msgBuf& msg, mcDecodeMsg& record,
                 std::vector<mcDecodeField>& fields) const;
};
