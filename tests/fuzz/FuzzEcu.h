/// @file
/// An ECU that answers by the bytes of an input.
#pragma once

#include "tests/fuzz/FuzzInput.h"

#include <TalvexRecords.h>

#include <cstdint>

namespace fuzz {

/// Answers each frame inside `sndFun`: with a positive response of any content, an error, something else, or
/// nothing. An input that is used up answers with an error, so that no command waits for it.
///
/// There is one at a time; the one made last takes the frames until it is destroyed.
class FuzzEcu {
public:
    static constexpr std::uint8_t kChannel = 0;
    static constexpr std::uint32_t kMasterId = 1;
    static constexpr std::uint32_t kSlaveId = 2;
    static constexpr std::uint32_t kDaqId = 3;

    FuzzEcu(FuzzInput& input, bool xcp);
    FuzzEcu(const FuzzEcu&) = delete;
    FuzzEcu& operator=(const FuzzEcu&) = delete;
    ~FuzzEcu();

    /// To be told if the master takes it as big endian. It is not by itself.
    void isBigEndian(bool bigEndian) { m_bigEndian = bigEndian; }

    /// Every position of the table and one log function. Values, texts and frames are looked at to their end;
    /// the seed and key function gives keys by the input too.
    static CallBackFuns callBacks();

    /// Sends a DAQ frame: its identifier, length and bytes out of the input.
    void sendDto();

    /// Sends a DAQ frame on each identifier, so that whoever fetches frames does not wait for one.
    void sendLastDtos();

    /// Adds up bytes, so that whoever hands them over has them read.
    static void look(const std::uint8_t* bytes, std::size_t count);

private:
    friend struct FuzzEcuCallbacks;

    void answer(const std::uint8_t* request, std::uint8_t length);
    void send(std::uint32_t id, std::vector<std::uint8_t> data);
    std::vector<std::uint8_t> anyBody(std::size_t least);
    void sendPositive(const std::uint8_t* request);
    void keepShort(std::uint8_t command, std::vector<std::uint8_t>& answer) const;
    void sendError(const std::uint8_t* request, std::uint8_t code);
    std::int32_t makeKey(std::uint8_t* keyLength, std::uint8_t* key);

    FuzzInput& m_input;
    const bool m_xcp;
    bool m_bigEndian = false;
};

}  // namespace fuzz
