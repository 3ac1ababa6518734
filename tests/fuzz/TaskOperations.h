/// @file
/// The operations of a task object, of whatever protocol, chosen by an input.
#pragma once

#include "engine/ITask_Transmit.h"
#include "tests/fuzz/FuzzConfig.h"
#include "tests/fuzz/FuzzEcu.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/ScratchFile.h"

#include <string>

namespace fuzz {

/// Most operations of one input.
inline constexpr int kMostOperations = 12;

/// A file with up to three blocks in and around the segments of `drawConfig`.
inline std::string drawHexFile(FuzzInput& input) {
    std::string text;
    for (unsigned block = input.below(4); block > 0; --block) {
        text += input.oneIn(8) ? ":02200000CCDD35\n" : ":02100000AABB89\n:01100200CC21\n";
    }
    return text;
}

/// Runs one operation. `startMeasurement` is not among them where it waits for the ECU to settle.
inline void runOperation(FuzzInput& input, ITask_Transmit& task, FuzzEcu& ecu) {
    const mcMemOperType selection = input.below(8);
    switch (input.below(18)) {
        case 0:
            task.disconnect();
            break;
        case 1:
            task.keepAlive();
            break;
        case 2:
            require(task.prepareMeasurement(drawVariables(input, 6, 40)) <= 73, "a result code");
            break;
        case 3:
            task.stopMeasurement();
            break;
        case 4:
            require(task.readVariables(drawVariables(input, 3, 300)).size() <= 3, "a value per variable");
            break;
        case 5:
            task.selectWorkingPage();
            break;
        case 6:
            task.selectReferencePage();
            break;
        case 7:
            task.copyReferenceToWorking();
            break;
        case 8: {
            mcMeasureVariable variable;
            variable.address = input.u32();
            variable.size = input.u8();
            task.writeVariable(variable, input.bytes(input.below(40)));
            break;
        }
        case 9: {
            std::vector<mcMemoryData> results;
            require(task.uploadMemory(selection, &results) <= 73, "a result code");
            break;
        }
        case 10:
            require(task.downloadMemory(drawBlocks(input), selection) <= 73, "a result code");
            break;
        case 11: {
            std::vector<mcMemoryData> results;
            require(task.checkMemory(drawBlocks(input), selection, &results) <= 73, "a result code");
            break;
        }
        case 12:
            require(task.eraseMemory(selection) <= 73, "a result code");
            break;
        case 13:
            task.pollTick();
            break;
        case 14:
            ecu.sendDto();
            ecu.sendLastDtos();
            task.processDaqFrames();
            break;
        case 15: {
            static ScratchFile file(".hex");
            require(task.forceDownload(file.holding(drawHexFile(input))) <= 73, "a result code");
            break;
        }
        default:
            require(task.connect() <= 73, "a result code");
            break;
    }
    require(task.memoryRanges(selection).size() <= 3 * 3 + 3, "a range per page of a segment");
    task.isLinkLost();
    task.lastErrorText();
    require(task.responseBudget() >= 0, "a budget is a time");
}

/// Runs as many operations as the input asks for.
template <typename Task>
void runOperations(FuzzInput& input, bool xcp) {
    FuzzEcu ecu(input, xcp);
    const EcuProtoCfg cfg = drawConfig(input, xcp);
    ecu.isBigEndian(cfg.xcp.byteOrder != 0);
    Task task(cfg, FuzzEcu::callBacks());
    for (int i = 0; i < kMostOperations && !input.isEmpty(); ++i) {
        runOperation(input, task, ecu);
    }
}

/// Inputs whose configuration is as good as empty and whose ECU answers positively, each with another
/// operation behind a connect.
inline std::vector<Bytes> operationSeeds() {
    std::vector<Bytes> made;
    for (std::uint8_t operation = 0; operation < 18; ++operation) {
        Bytes seed(64, 0);
        for (const std::uint8_t chosen : {std::uint8_t{17}, operation}) {
            seed.push_back(1);
            seed.push_back(chosen);
            for (std::uint8_t answer = 0; answer < 24; ++answer) {
                seed.insert(seed.end(), {0, 0, 8, 1, 2, 3, 4, 5, 6, 7});
            }
        }
        made.push_back(std::move(seed));
    }
    return made;
}

/// operationSeeds() behind the flag that asks for operations, and one seed that asks for none.
inline std::vector<Bytes> responseSeeds() {
    std::vector<Bytes> made = operationSeeds();
    for (Bytes& seed : made) {
        seed.insert(seed.begin(), 1);
    }
    made.push_back(made.front());
    made.back().front() = 0;
    return made;
}

}  // namespace fuzz
