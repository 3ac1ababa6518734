#include "sim/BitTiming.h"

#include <algorithm>

namespace sim {

namespace {

constexpr std::uint32_t kStandardIds = 0x800;
constexpr std::uint32_t kExtendedIds = 0x2000'0000;
constexpr std::uint8_t kClassicPayload = 8;
constexpr std::array<std::uint8_t, 7> kFdLengths{12, 16, 20, 24, 32, 48, 64};
constexpr std::uint64_t kPsPerSecond = 1'000'000'000'000;
constexpr std::uint64_t kPsPerNs = 1'000;

/// Bits of the parts of a frame. Intermission: 3 bits, part of the fixed nominal ones.
constexpr std::uint32_t kClassicStandard = 47;    ///< all but data and stuff bits
constexpr std::uint32_t kClassicExtended = 67;    ///< all but data and stuff bits
constexpr std::uint32_t kStuffableStandard = 34;  ///< start of frame to CRC, without the data
constexpr std::uint32_t kStuffableExtended = 54;  ///< start of frame to CRC, without the data
constexpr std::uint32_t kFdStandard = 29;         ///< start of frame to BRS, acknowledge to intermission
constexpr std::uint32_t kFdExtended = 48;         ///< start of frame to BRS, acknowledge to intermission
constexpr std::uint32_t kFdControl = 10;          ///< ESI, length code, stuff count with parity, delimiter
constexpr std::uint32_t kFdCrcShort = 17 + 6;     ///< CRC and fixed stuff bits up to 16 data bytes
constexpr std::uint32_t kFdCrcLong = 21 + 7;      ///< CRC and fixed stuff bits above 16 data bytes
constexpr std::uint8_t kFdCrcShortMost = 16;
constexpr std::uint32_t kFdStuffableStandard = 14;  ///< start of frame to the bit ahead of FDF
constexpr std::uint32_t kFdStuffableExtended = 33;  ///< start of frame to the bit ahead of FDF

constexpr unsigned kRunLimit = 5;  ///< a stuff bit follows this many equal bits

/// Counts the stuff bits of a bit sequence.
class StuffCounter {
public:
    /// Takes the lowest @p width bits of @p bits, most significant bit first.
    void put(std::uint32_t bits, unsigned width) {
        while (width-- > 0) {
            putBit((bits >> width & 1U) != 0);
        }
    }

    [[nodiscard]] std::uint32_t count() const { return m_count; }

    /// Whether the last bit taken is directly followed by a stuff bit.
    [[nodiscard]] bool endsOnStuffBit() const { return m_stuffed; }

private:
    void putBit(bool bit) {
        m_run = (m_run > 0 && bit == m_last) ? m_run + 1 : 1;
        m_last = bit;
        m_stuffed = m_run == kRunLimit;
        if (m_stuffed) {  // the stuff bit is the first of the next run
            ++m_count;
            m_last = !bit;
            m_run = 1;
        }
    }

    bool m_last = false;
    bool m_stuffed = false;
    unsigned m_run = 0;
    std::uint32_t m_count = 0;
};

/// The 4-bit length code of @p length, which CAN FD must have.
std::uint32_t lengthCode(std::uint8_t length) {
    if (length <= kClassicPayload) {
        return length;
    }
    const auto* row = std::find(kFdLengths.begin(), kFdLengths.end(), length);
    return static_cast<std::uint32_t>(row - kFdLengths.begin()) + kClassicPayload + 1U;
}

/// Start of frame up to the bit ahead of r0 (classic, standard), r1 (classic, extended) or FDF.
template <class Sink>
void putArbitration(const Frame& frame, Sink& sink) {
    sink.put(0, 1);
    if (frame.extended) {
        sink.put(frame.id >> 18U, 11);
        sink.put(0b11, 2);  // SRR, IDE
        sink.put(frame.id, 18);
        sink.put(0, 1);  // RTR
    } else {
        sink.put(frame.id, 11);
        sink.put(0, 2);  // RTR, IDE
    }
}

/// The data field, filled with zeros up to the length on the wire.
template <class Sink>
void putData(const Frame& frame, Sink& sink) {
    const std::uint8_t length = wireLength(frame);
    for (std::size_t i = 0; i < length; ++i) {
        sink.put(i < frame.length ? frame.data[i] : 0U, 8);
    }
}

/// Start of frame to the last data bit of a classic frame.
template <class Sink>
void putClassic(const Frame& frame, Sink& sink) {
    putArbitration(frame, sink);
    sink.put(0, frame.extended ? 2 : 1);  // r1, r0
    sink.put(frame.length, 4);
    putData(frame, sink);
}

FrameBits actualClassic(const Frame& frame) {
    StuffCounter counter;
    putClassic(frame, counter);
    counter.put(frameCrc15(frame), 15);
    return {counter.count(), 0};
}

FrameBits actualFd(const Frame& frame) {
    StuffCounter counter;
    putArbitration(frame, counter);
    counter.put(frame.brs ? 0b101 : 0b100, 3);  // FDF, res, BRS
    const std::uint32_t nominal = counter.count();
    counter.put(0, 1);  // ESI
    counter.put(lengthCode(wireLength(frame)), 4);
    putData(frame, counter);
    // Behind the data stands the first fixed stuff bit; it takes the place of a dynamic one.
    const std::uint32_t all = counter.count() - (counter.endsOnStuffBit() ? 1U : 0U);
    return frame.brs ? FrameBits{nominal, all - nominal} : FrameBits{all, 0};
}

FrameBits worstClassic(const Frame& frame) {
    const std::uint32_t stuffable = frame.extended ? kStuffableExtended : kStuffableStandard;
    return {(stuffable + 8U * frame.length - 1U) / 4U, 0};
}

FrameBits worstFd(const Frame& frame) {
    const std::uint32_t head = frame.extended ? kFdStuffableExtended : kFdStuffableStandard;
    const std::uint32_t nominal = (head - 1U) / 4U;
    const std::uint32_t data = 2U * wireLength(frame);
    if (frame.brs) {
        return {nominal, data};
    }
    // res, BRS and ESI are dominant here and make a run with a length code that begins with 00.
    return {nominal + data + (frame.length <= 3 ? 1U : 0U), 0};
}

}  // namespace

void Crc15::put(std::uint32_t bits, unsigned width) {
    constexpr std::uint16_t kPolynomial = 0x4599;
    while (width-- > 0) {
        const bool feedback = ((m_value >> 14U ^ bits >> width) & 1U) != 0;
        m_value = static_cast<std::uint16_t>(m_value << 1U & 0x7FFF);
        if (feedback) {
            m_value ^= kPolynomial;
        }
    }
}

bool isSendable(const Frame& frame) {
    const bool idFits = frame.id < (frame.extended ? kExtendedIds : kStandardIds);
    const bool lengthFits = frame.length <= (frame.fd ? kMaxPayload : kClassicPayload);
    return idFits && lengthFits && (frame.fd || !frame.brs);
}

std::uint8_t wireLength(const Frame& frame) {
    if (frame.length <= kClassicPayload) {
        return frame.length;
    }
    return *std::lower_bound(kFdLengths.begin(), kFdLengths.end(), frame.length);
}

std::uint16_t frameCrc15(const Frame& frame) {
    Crc15 crc;
    putClassic(frame, crc);
    return crc.value();
}

FrameBits stuffBits(const Frame& frame, Stuffing stuffing) {
    switch (stuffing) {
        case Stuffing::Actual:
            return frame.fd ? actualFd(frame) : actualClassic(frame);
        case Stuffing::Worst:
            return frame.fd ? worstFd(frame) : worstClassic(frame);
        case Stuffing::None:
            break;
    }
    return {};
}

FrameBits frameBits(const Frame& frame, Stuffing stuffing) {
    FrameBits bits = stuffBits(frame, stuffing);
    const std::uint32_t dataBits = 8U * wireLength(frame);
    if (!frame.fd) {
        bits.nominal += (frame.extended ? kClassicExtended : kClassicStandard) + dataBits;
        return bits;
    }
    const std::uint32_t crc = wireLength(frame) <= kFdCrcShortMost ? kFdCrcShort : kFdCrcLong;
    bits.nominal += frame.extended ? kFdExtended : kFdStandard;
    (frame.brs ? bits.data : bits.nominal) += kFdControl + dataBits + crc;
    return bits;
}

std::uint64_t wireTimePs(const FrameBits& bits, const BitRates& rates) {
    return bits.nominal * kPsPerSecond / rates.nominal + bits.data * kPsPerSecond / rates.data;
}

Time duration(const Frame& frame, const BitRates& rates, Stuffing stuffing) {
    return wireTimePs(frameBits(frame, stuffing), rates) / kPsPerNs;
}

}  // namespace sim
