/// @file
/// What the ECUs answered: the library says that something failed, the frames say why.
#pragma once

#include "host/CanBus.h"
#include "host/ConfigRecords.h"
#include "host/ExitCode.h"
#include "host/FrameDecoder.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// The reason of a failure, for a person and for the exit code.
struct AnswerVerdict {
    ExitCode code = ExitCode::failed;
    std::string text;  ///< empty if the frames tell nothing
};

/// Follows the commands to some ECUs and their answers. Any thread.
class AnswerWatch {
public:
    /// @param ecus  of the configuration, by index
    AnswerWatch(const Config& config, const std::vector<std::size_t>& ecus);

    /// Takes a frame of the bus with index @p bus.
    void take(std::size_t bus, const BusFrame& frame);

    /// Forgets what the ECU answered so far: an operation begins.
    void begin(std::size_t ecu);

    /// As `begin`, for the start of a measurement: commands that it can do without do not count for
    /// `memoryVerdict`, nor does polling, which goes on at once.
    void beginStart(std::size_t ecu);

    /// What went wrong with that ECU since `begin`: a command without an answer, else the last error.
    [[nodiscard]] AnswerVerdict verdict(std::size_t ecu) const;

    /// What went wrong first with an operation on memory since `begin`, also if the ECU answered later
    /// commands well: the library goes on behind some failures. Repeats that helped do not count, nor does
    /// what the library sends beside the operation: it keeps the session alive and puts the page back.
    [[nodiscard]] AnswerVerdict memoryVerdict(std::size_t ecu) const;

private:
    /// A command that failed; a repeat may help yet.
    struct Doubt {
        std::string command;
        AnswerVerdict verdict;
    };

    /// One ECU.
    struct Station {
        Station(const EcuRecord& record, std::size_t number);

        std::size_t ecu;
        std::size_t bus;
        IdPair pair;
        FrameDecoder decoder;
        std::string pending;                ///< name of the command that waits for an answer
        std::string refused;                ///< name of the last command that got an error
        std::optional<std::uint8_t> error;  ///< code of that error
        std::string errorText;
        std::optional<Doubt> doubt;                ///< about the last command
        AnswerVerdict first;                       ///< the first doubt that no repeat removed
        std::span<const std::string_view> beside;  ///< commands that do not count for the operation
    };

    void begin(std::size_t ecu, std::span<const std::string_view> beside);

    static void followCommand(Station& station, const std::string& command);
    static void followAnswer(Station& station, const DecodedFrame& answer);
    static AnswerVerdict silence(const Station& station);
    static AnswerVerdict refusal(const Station& station);
    static void follow(Station& station, const BusFrame& frame);
    [[nodiscard]] const Station* find(std::size_t ecu) const;

    mutable std::mutex m_mutex;  ///< guards the stations; nothing else is locked while it is held
    std::vector<Station> m_stations;
};

}  // namespace host
