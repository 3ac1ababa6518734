/// @file
/// An ECU that answers every command as it is sent, and does wrong what it is told to do wrong.
#pragma once

#include "tests/support/TestHost.h"
#include "tests/system/FaultMatrixFaults.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace systemtest {

inline constexpr std::uint32_t kMatrixMasterId = 0x100;
inline constexpr std::uint32_t kMatrixSlaveId = 0x101;

/// The host of all cases: the engine calls it until the process ends.
[[nodiscard]] support::TestHost& matrixHost();

/// Waits for an entry of the host's journal that begins with @p head.
[[nodiscard]] bool journalShows(const std::string& head);

/// Answers inside `sndFun`, so that the library never waits for an answer that comes, however slow the
/// machine. It keeps nothing of what it is told but whether there is a session: it takes every command at any
/// time, and every UPLOAD brings 'A's. What follows from a command that failed is so the library's doing
/// alone.
///
/// All functions may be called from any thread.
class FaultMatrixEcu {
public:
    using Bytes = std::vector<std::uint8_t>;

    explicit FaultMatrixEcu(Protocol protocol);
    FaultMatrixEcu(const FaultMatrixEcu&) = delete;
    FaultMatrixEcu& operator=(const FaultMatrixEcu&) = delete;
    ~FaultMatrixEcu();

    /// Counts frames anew, and does @p fault from frame @p first on.
    /// @param endsWith  command that ends it, this one included; 0 for none
    void arm(const Fault& fault, std::size_t first, std::uint8_t endsWith = 0);
    /// Answers everything from now on, and counts frames anew.
    void heal() { arm({}, 0); }
    /// Codes of the commands that came since `arm`, oldest first.
    [[nodiscard]] Bytes codes() const;

    /// Gives a frame to the library.
    static void deliver(std::uint32_t id, const Bytes& frame);

private:
    void take(const Bytes& request);
    [[nodiscard]] std::vector<Bytes> framesFor(const Bytes& request);
    [[nodiscard]] std::vector<Bytes> spoil(const Fault& fault, const Bytes& request, const Bytes& answer);
    [[nodiscard]] Bytes answerTo(const Bytes& request);
    [[nodiscard]] Bytes xcpAnswer(const Bytes& request);
    [[nodiscard]] Bytes error(const Bytes& request, std::uint8_t code, std::uint8_t counterOffset = 0) const;
    [[nodiscard]] std::vector<Bytes> foreignFrames(const Bytes& request) const;
    void deliverSlowly();

    const Protocol m_protocol;
    int m_plug = 0;

    mutable std::mutex m_mutex;  ///< guards all below; never held while the library is called
    std::condition_variable m_changed;
    Fault m_fault;
    std::size_t m_first = 0;
    std::uint8_t m_endsWith = 0;
    Bytes m_codes;
    bool m_session = true;
    std::uint8_t m_resource = 0;  ///< whose seed was asked for last
    std::vector<Bytes> m_late;
    std::vector<Bytes> m_slow;  ///< for the second thread to deliver
    bool m_ends = false;
    std::thread m_second;  ///< delivers slow answers
};

}  // namespace systemtest
