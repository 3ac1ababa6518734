// What the operations do on XCP.
#include "tests/system/FaultMatrixRules.h"

namespace systemtest {
namespace {

constexpr std::size_t kPerUpload = 7;  ///< bytes of an UPLOAD
constexpr std::size_t kPerFrame = 6;   ///< bytes of a DOWNLOAD or PROGRAM
constexpr std::size_t kPlainStep = 7;  ///< bytes of a step of a memory download without blocks
constexpr std::size_t kBlockStep = 14;
constexpr std::size_t kCodeBytes = 14;
constexpr std::size_t kDataBytes = 10;

// Reading

/// UPLOAD is never repeated, and an answer without data ends the reading.
/// @return bytes that came
std::size_t upload(Reckoning& ecu, std::size_t count) {
    std::size_t stored = 0;
    while (stored < count) {
        const std::size_t wanted = std::min(kPerUpload, count - stored);
        const Answer answer = ecu.sendOnce(0xF5);
        const std::size_t got = answer ? std::min(wanted, answer.length - 1) : 0;
        if (got == 0) {
            break;
        }
        stored += got;
    }
    return stored;
}

/// A command that fails counts as one byte read.
void read(Reckoning& ecu, const std::string& name, std::size_t size) {
    std::size_t count = 1;
    if (size < 5) {
        count = ecu.exchange(0xF4) ? size : 1;
    } else if (ecu.exchange(0xF6)) {
        count = upload(ecu, size);
    }
    if (count < size) {
        ecu.log(4, "readData failed, var: " + name + ", total: " + std::to_string(size) +
                       ",read: " + std::to_string(count));
    }
}

void readAll(Reckoning& ecu) {
    read(ecu, "word", 2);
    read(ecu, "long", 12);
}

void readOnce(Reckoning& ecu) {
    ecu.log(2, "Measure variables ecu(ecu)");
    readAll(ecu);
    ecu.result(7, 0, "Measurement vars");
}

// Session

/// A response to GET_SEED: the first of the long seed tells 10 bytes and has 6, the others tell 4 and have 4.
/// The seed goes on as long as a response tells more bytes than it can have.
/// @return bytes of the seed
std::size_t fetchSeed(Reckoning& ecu, bool isLong) {
    static constexpr std::size_t kMost = 6;
    std::size_t length = 0;
    std::size_t before = 0;
    for (bool isFirst = true;; isFirst = false) {
        const bool isLongFirst = isFirst && isLong;
        const Answer answer = ecu.exchange(0xF8);
        if (!answer) {
            return length;
        }
        if (answer.length < 2) {
            return length + before;
        }
        const std::size_t told = answer.byte(1, isLongFirst ? 10 : 4);
        before = std::min<std::size_t>(answer.length - 2, isLongFirst ? 6 : 4);
        length += before;
        if (told <= (isFirst ? kMost : before) || before == 0) {
            return length;
        }
    }
}

/// @param stillLocked  what UNLOCK tells if it is answered; what it told afterwards
bool unlock(Reckoning& ecu, bool isLong, std::uint8_t& stillLocked) {
    if (fetchSeed(ecu, isLong) == 0) {
        return false;
    }
    ecu.log(2, "==========>seed Fun ret:1 key - length: [2] and the key is : [0xabcd");
    const Answer answer = ecu.exchange(0xF7);
    stillLocked = answer.byte(1, stillLocked);
    return answer.counts;
}

/// The resources 0x01 and 0x10 are there and locked, as far as the answers hold that.
std::uint32_t connectAndUnlock(Reckoning& ecu) {
    const Answer connected = ecu.exchange(0xFF);
    if (!connected) {
        return 3;
    }
    if (!ecu.exchange(0xFB)) {
        return 54;
    }
    const Answer status = ecu.exchange(0xFD);
    if (!status) {
        return 55;
    }
    ecu.begins();
    const unsigned resources = connected.byte(1, 0x11);
    std::uint8_t locked = status.byte(2, 0x11);
    if ((resources & locked & 0x01U) != 0) {
        locked = 0x10;
        if (!unlock(ecu, true, locked)) {
            return 11;
        }
    }
    if ((resources & locked & 0x10U) != 0) {
        locked = 0;
        if (!unlock(ecu, false, locked)) {
            return 11;
        }
    }
    return 0;
}

std::uint32_t connectWithoutKeys(Reckoning& ecu) {
    const std::uint32_t code = runSteps(ecu, {{0xFF, 3}, {0xFB, 54}});
    if (code == 0) {
        ecu.log(3, "seedkey_path or XCP_GET_SEED_CMD not found");
    }
    return code;
}

// Measurement

/// What the ECU's answers made of the plan; there is one measurement at a time.
struct Plan {
    bool isDynamic = true;
    bool hasList = true;
};
Plan g_plan;

/// An event that takes no list leaves all variables to polling.
std::uint32_t prepare(Reckoning& ecu) {
    g_plan = {true, false};
    const Answer facts = ecu.exchange(0xDA);
    if (!facts) {
        return 16;
    }
    if (!ecu.exchange(0xD9)) {
        return 17;
    }
    g_plan = {facts.byte(1, 1) != 0, true};
    const Answer event = facts.byte(4, 1) != 0 ? ecu.exchange(0xD7) : Answer{};
    if (event) {
        g_plan.hasList = event.byte(2, 1) != 0;
        upload(ecu, event.byte(3, 3));
    }
    return 0;
}

/// All failures but that of the last command show in silence later on.
std::uint32_t start(Reckoning& ecu) {
    if (!g_plan.hasList) {
        return 0;
    }
    if (g_plan.isDynamic) {
        exchangeAll(ecu, {0xD6, 0xD5, 0xD4, 0xD3, 0xD3});
    }
    exchangeAll(ecu, {0xE2, 0xE1, 0xE2, 0xE1, 0xE0, 0xDE, 0xDC});
    return runSteps(ecu, {{0xDD, 15}});
}

void stopAll(Reckoning& ecu) {
    if (g_plan.hasList) {
        ecu.exchange(0xDD);
    }
}

// Calibration

std::uint32_t selectPage(Reckoning& ecu) {
    return runSteps(ecu, {{0xEB, 23}});
}

std::uint32_t copyPage(Reckoning& ecu) {
    return runSteps(ecu, {{0xE4, 73}});
}

/// Frames that have an answer each; the bytes of one that fails count as sent, but it is the last.
/// @return bytes that count as sent
std::size_t sendPlain(Reckoning& ecu, std::uint8_t command, std::size_t count) {
    std::size_t sent = 0;
    while (sent < count) {
        sent += std::min(kPerFrame, count - sent);
        if (!ecu.exchange(command)) {
            break;
        }
    }
    return sent;
}

/// Frames of which only the last has an answer, which is not asked for again.
/// @return bytes that were sent, or 0 if it fails
std::size_t sendBlock(Reckoning& ecu, std::uint8_t first, std::uint8_t next, std::size_t count) {
    std::uint8_t command = first;
    for (std::size_t left = count; left > kPerFrame; left -= kPerFrame) {
        ecu.sendUnanswered(command);
        command = next;
    }
    return ecu.sendOnce(command) ? count : 0;
}

void reportWrite(Reckoning& ecu) {
    ecu.result(8, 0, "Calibration vars", kMatrixEcu);
}

/// A host learns nothing of a write that failed.
void write(Reckoning& ecu) {
    ecu.log(2, "Calibration variables ecu(ecu)");
    if (runSteps(ecu, {{0xF6, 37, "SET_MTA failed"}}) == 0) {
        sendPlain(ecu, 0xF0, 8);
    }
    reportWrite(ecu);
}

/// 20 bytes: a block of three frames and one of one.
void writeBlocks(Reckoning& ecu) {
    ecu.log(2, "Calibration variables ecu(ecu)");
    if (runSteps(ecu, {{0xF6, 37, "SET_MTA failed"}}) == 0 && sendBlock(ecu, 0xF0, 0xEF, kBlockStep) != 0) {
        sendBlock(ecu, 0xF0, 0xEF, 6);
    }
    reportWrite(ecu);
}

// Memory

std::uint32_t uploadMemory(Reckoning& ecu) {
    static constexpr std::size_t kTotal = 20;
    if (runSteps(ecu, {{0xEB, 23, "SET_CAL_PAGE failed"}}) != 0) {
        return 23;
    }
    if (runSteps(ecu, {{0xF6, 37, "SET_MTA failed"}}) != 0) {
        return 37;
    }
    return uploadSteps(ecu, kTotal, [&ecu](std::size_t left) { return upload(ecu, left); });
}

/// How one form of a memory download sends.
struct Carrier {
    bool inBlocks;
    std::uint8_t first;
    std::uint8_t next;
};

/// A memory block at the address set ahead of it, step by step, with the progress behind each step.
bool downloadSteps(Reckoning& ecu, const Carrier& carrier, std::size_t count, std::size_t& done) {
    const std::size_t step = carrier.inBlocks ? kBlockStep : kPlainStep;
    if (runSteps(ecu, {{0xF6, 37, "downloadMemBlock SET_MTA failed"}}) != 0) {
        return false;
    }
    for (std::size_t at = 0; at < count; at += step) {
        const std::size_t wanted = std::min(step, count - at);
        const std::size_t sent = carrier.inBlocks ? sendBlock(ecu, carrier.first, carrier.next, wanted)
                                                  : sendPlain(ecu, carrier.first, wanted);
        done += sent;
        reportProgress(ecu, 13, done, kCodeBytes + kDataBytes);
        if (sent < wanted) {
            return false;
        }
    }
    reportProgress(ecu, 13, done, kCodeBytes + kDataBytes);
    return true;
}

std::uint32_t download(Reckoning& ecu, bool inBlocks) {
    std::size_t done = 0;
    if (!ecu.exchange(0xD2)) {
        return 59;
    }
    if (!downloadSteps(ecu, {inBlocks, 0xD0, 0xEF}, kCodeBytes, done)) {
        ecu.log(4, "Download Fegment Failed:65536");
        return 35;
    }
    if (!ecu.exchange(0xCF)) {
        return 64;
    }
    ecu.exchange(0xEB);
    if (!downloadSteps(ecu, {inBlocks, 0xF0, 0xEF}, kDataBytes, done)) {
        ecu.log(4, "Download Fegment Failed:32768");
        return 35;
    }
    return 0;
}

/// A segment that cannot be cleared does not stop the others, nor does it show in the result.
std::uint32_t erase(Reckoning& ecu) {
    if (runSteps(ecu, {{0xD2, 59, "PROGRAM_START failed"}}) != 0) {
        return 59;
    }
    for (int segment = 0; segment < 2; ++segment) {
        runSteps(ecu, {{0xF6, 37, "SET_MTA failed"}, {0xD1, 60, "PROGRAM_CLEAR failed"}});
    }
    return runSteps(ecu, {{0xCF, 64, "PROGRAM_RESET failed"}});
}

/// Page and address are set whether that works or not. What counts as positive by its code alone is no
/// checksum.
std::uint32_t check(Reckoning& ecu, std::size_t& ranges) {
    ecu.exchange(0xEB);
    ecu.exchange(0xF6);
    for (; ranges < 3; ++ranges) {
        const Answer answer = ecu.exchange(0xF3);
        if (!answer || answer.isSynch) {
            ecu.log(4, "BuildChecksum failed");
            return 70;
        }
    }
    return 0;
}

/// PROGRAM_RESET goes out whatever happened.
std::uint32_t force(Reckoning& ecu) {
    std::uint32_t code = runSteps(
        ecu, {{0xEB, 23}, {0xD2, 59}, {0xF6, 37, "SET_MTA failed"}, {0xD1, 60, "PROGRAM_CLEAR failed"}});
    if (code == 0) {
        code = runSteps(ecu, {{0xF6, 61, "downloadMemBlock SET_MTA failed"}});
        if (code != 0 || sendBlock(ecu, 0xD0, 0xCA, 20) == 0) {
            ecu.log(4, "Program Fegment Failed:32768");
            code = 61;
        }
    }
    ecu.exchange(0xCF);
    return code;
}

// The table

void hasKeys(EcuProtoCfg& cfg) {
    cfg.seedkey_path = "keys";
}

void usesBlocks(EcuProtoCfg& cfg) {
    cfg.supportedCmds.insert(0xEF);
    cfg.xcp.useMasterBlockMode = 1;
}

using E = Reckoning;
constexpr Before kNothing = Before::nothing;
constexpr Before kConnected = Before::connected;
constexpr Before kMeasuring = Before::measuring;

void starts(E& ecu, bool isStart) {
    startBy(ecu, prepare, start, isStart, [&ecu] { stopAll(ecu); });
}

}  // namespace

const std::vector<Operation>& xcpOperations() {
    const auto askMeasurement = [] { askStart(Protocol::xcp); };
    static const std::vector<Operation> kRows = {
        {"Connect", kNothing, [](E& ecu) { connectBy(ecu, connectWithoutKeys); },
         [] { EcuConnect({kMatrixEcu}); }},
        {"Unlock", kNothing, [](E& ecu) { connectBy(ecu, connectAndUnlock); },
         [] { EcuConnect({kMatrixEcu}); }, hasKeys},
        {"Prepare", kConnected, [](E& ecu) { starts(ecu, false); }, askMeasurement, nullptr, 0xF4},
        {"Start", kConnected, [](E& ecu) { starts(ecu, true); }, askMeasurement, nullptr, 0xF4},
        {"Read", kConnected, readOnce, askRead},
        {"Poll", kConnected, readAll, askPoll, pollsAll},
        {"Write", kConnected, write, [] { askWrite(8); }},
        {"WriteBlocks", kConnected, writeBlocks, [] { askWrite(20); }, usesBlocks},
        {"Page", kConnected, [](E& ecu) { selectPageBy(ecu, selectPage); },
         [] { SetCalPage(kMatrixEcu, true); }},
        {"Copy", kConnected, [](E& ecu) { copyBy(ecu, copyPage); }, [] { EcuCopyRefeToWork(kMatrixEcu); }},
        {"Upload", kConnected, [](E& ecu) { uploadBy(ecu, uploadMemory, selectPage); },
         [] { UploadFromEcuMem(kMatrixEcu, mcMemDataReference); }},
        {"Download", kConnected,
         [](E& ecu) {
             downloadBy(
                 ecu, [](E& e) { return download(e, false); }, selectPage);
         },
         askDownload},
        {"DownloadBlocks", kConnected,
         [](E& ecu) {
             downloadBy(
                 ecu, [](E& e) { return download(e, true); }, selectPage);
         },
         askDownload, usesBlocks},
        {"Erase", kConnected, [](E& ecu) { eraseBy(ecu, erase, selectPage); },
         [] { EarseEcu(kMatrixEcu, mcMemCode); }},
        {"Check", kConnected, [](E& ecu) { checkBy(ecu, check, selectPage); }, askCheck},
        {"Force", kConnected, [](E& ecu) { forceBy(ecu, force); }, askForce},
        {"Stop", kMeasuring,
         [](E& ecu) {
             g_plan = {};
             stopBy(ecu, [&ecu] { stopAll(ecu); });
             ecu.result(6, 0, "Stop measurement");
         },
         [] { StopMeasurement(); }},
        {"Disconnect", kConnected, [](E& ecu) { disconnectBy(ecu, 0xFE); }, [] { EcuDisconnect(); }},
    };
    return kRows;
}

}  // namespace systemtest
