/// @file
/// The operations of the fault matrix: how a host asks for them, and what they do by the rules.
#pragma once

#include "tests/system/FaultMatrixReckoning.h"

#include <TalvexSDK.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace systemtest {

inline constexpr const char* kMatrixEcu = "ecu";

/// What has to be so before an operation can be asked for.
enum class Before : std::uint8_t { nothing, connected, measuring };

struct Operation {
    std::string name;
    Before before;
    void (*reckon)(Reckoning& ecu);             ///< the rules; for "Poll" those of one tick
    std::function<void()> ask;                  ///< queues the command
    void (*configure)(EcuProtoCfg&) = nullptr;  ///< what differs from `matrixConfig`
    /// Command by which variables are polled that DAQ could not take: those polls are no part of the
    /// operation. 0 for none.
    std::uint8_t pollsWith = 0;
};

/// @return nullptr if there is none of that name
[[nodiscard]] const Operation* findOperation(Protocol protocol, const std::string& name);
[[nodiscard]] const std::vector<Operation>& xcpOperations();
[[nodiscard]] const std::vector<Operation>& ccpOperations();

/// Ranges: code 24 bytes at 0x10000 and 12 at 0x20000, data 20 bytes at 0x8000 on page 0. Every command is
/// sent again once.
/// @param timeoutMs  time-out of all commands
[[nodiscard]] EcuProtoCfg matrixConfig(Protocol protocol, std::uint16_t timeoutMs);

/// The variables of the measurement, in the data range: by DAQ, and those that are read one by one.
[[nodiscard]] std::vector<mcMeasureVariable> matrixDaqVariables(Protocol protocol);
[[nodiscard]] std::vector<mcMeasureVariable> matrixReadVariables();

/// The library's rules are those of the protocol; what the engine makes of their codes is common:

/// A command and the code that its failure gives; @p line, if there is one, is logged as an error then.
struct Step {
    std::uint8_t command;
    std::uint32_t failure;
    const char* line = nullptr;
};

/// @return the code of the first step that fails, behind which nothing is sent, else 0
std::uint32_t runSteps(Reckoning& ecu, std::initializer_list<Step> steps);

/// Commands whose failures do not matter.
void exchangeAll(Reckoning& ecu, std::initializer_list<std::uint8_t> commands);

/// A line of level 4 if @p code tells a failure: @p head and the text of the code.
void logFailure(Reckoning& ecu, std::uint32_t code, const std::string& head);
void reportProgress(Reckoning& ecu, std::uint32_t command, std::size_t done, std::size_t total);

/// Reads @p total bytes, with progress. A step that brings some bytes goes on behind them; one that brings
/// none is the last. @return 0, or 34 if nothing came
std::uint32_t uploadSteps(Reckoning& ecu, std::size_t total,
                          const std::function<std::size_t(std::size_t left)>& step);

using Rule = std::uint32_t (*)(Reckoning&);

void connectBy(Reckoning& ecu, Rule connect);
void disconnectBy(Reckoning& ecu, std::uint8_t command);
/// @param stop     sends what stops a measurement
/// @param isStart  whether the frames of the start are the operation, else those of the preparation
void startBy(Reckoning& ecu, Rule prepare, Rule start, bool isStart, const std::function<void()>& stop);
/// The polling thread finds the link lost, and the engine disconnects.
/// @param disconnect  command that would be sent if it could be
void loseLinkBy(Reckoning& ecu, std::uint8_t disconnect);
void stopBy(Reckoning& ecu, const std::function<void()>& stop);
void selectPageBy(Reckoning& ecu, Rule selectPage, const std::string& detail = "");
void copyBy(Reckoning& ecu, Rule copy);
void uploadBy(Reckoning& ecu, Rule upload, Rule selectPage);
void downloadBy(Reckoning& ecu, Rule download, Rule selectPage);
void eraseBy(Reckoning& ecu, Rule erase, Rule selectPage);
/// @param check  also counts the ranges it checked
void checkBy(Reckoning& ecu, std::uint32_t (*check)(Reckoning&, std::size_t& ranges), Rule selectPage);
void forceBy(Reckoning& ecu, Rule force);

/// How a host asks.
void askStart(Protocol protocol);
void askDownload();
void askCheck();
void askForce();
void askRead();
void askWrite(std::size_t count);
void askPoll();
/// Takes DAQ from a configuration.
void pollsAll(EcuProtoCfg& cfg);

}  // namespace systemtest
