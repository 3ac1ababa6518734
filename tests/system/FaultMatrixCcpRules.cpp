// What the operations do on CCP.
#include "tests/system/FaultMatrixRules.h"

#include <array>

namespace systemtest {
namespace {

constexpr std::size_t kPerFrame = 5;  ///< bytes of an UPLOAD, DNLOAD or PROGRAM
constexpr std::size_t kDataBytes = 10;
constexpr std::size_t kCodeBytes = 14;

// Reading

/// UPLOAD is never repeated. Bytes that a short response lacks count as zeros.
/// @return the bytes that came
std::string upload(Reckoning& ecu, std::size_t count) {
    std::string bytes;
    while (bytes.size() < count) {
        const Answer answer = ecu.sendOnce(0x04);
        if (!answer) {
            break;
        }
        const char byte = answer.length == Answer::kWhole ? 'A' : '\0';
        bytes.append(std::min(kPerFrame, count - bytes.size()), byte);
    }
    return bytes;
}

/// A variable that cannot be read is left out without a line.
void readAll(Reckoning& ecu) {
    ecu.exchange(0x0F);
    if (ecu.exchange(0x02)) {
        upload(ecu, 12);
    }
}

void readOnce(Reckoning& ecu) {
    ecu.log(2, "Measure variables ecu(ecu)");
    readAll(ecu);
    ecu.result(7, 0, "Measurement vars");
}

// Session

/// @return whether the resource is free, for want of a lock or by its key
bool unlock(Reckoning& ecu) {
    const Answer seed = ecu.exchange(0x12);
    if (!seed || seed.byte(3, 1) != 1) {
        return seed.counts;
    }
    ecu.log(2, "==========>seed Fun ret:1 key - length: [2] and the key is : [0xabcd");
    return ecu.exchange(0x13).counts;
}

/// The end of a connect: where the session status counts, its code is that of CONNECT.
std::uint32_t setStatus(Reckoning& ecu) {
    if (!ecu.exchange(0x09)) {
        ecu.log(3, "Send GetActiveCalPage failed.");
    }
    if (!ecu.exchange(0x0D)) {
        ecu.log(3, "Send GetStatus failed.");
    }
    return runSteps(ecu, {{0x0C, 3, "Send GetStatus failed."}, {0x0D, 3}});
}

/// The identification has 7 bytes, and the resources 0x01 and 0x40 are locked, as far as the answer holds it.
std::uint32_t connect(Reckoning& ecu, bool unlocks) {
    if (!ecu.exchange(0x01)) {
        return 3;
    }
    const Answer version = ecu.exchange(0x1B);
    if (!version || version.byte(3, 2) != 2) {
        return version ? 5 : 57;
    }
    const Answer identification = ecu.exchange(0x17);
    if (!identification) {
        return 6;
    }
    const std::size_t length = identification.byte(3, 7);
    if (length != 0) {
        std::string text = upload(ecu, length);
        text.resize(length, '\0');
        ecu.log(2, "Get slave id :" + text);
    }
    if (unlocks) {
        ecu.begins();
        const int locked = identification.byte(5, 0x41) != 0 ? 2 : 0;
        for (int resource = 0; resource < locked; ++resource) {
            if (!unlock(ecu)) {
                return 8;
            }
        }
        ecu.ends();
    }
    return setStatus(ecu);
}

// Measurement

/// Entries of each ODT of each list, as the ECU's answers made them; there is one measurement at a time.
using Lists = std::array<std::vector<std::size_t>, 2>;
Lists g_lists;

/// A size that the ECU does not tell is that of the configuration. A list without ODTs is started all the
/// same, and another one takes what would have been in it, as far as it has room.
std::uint32_t prepare(Reckoning& ecu) {
    std::array<std::size_t, 2> sizes = {2, 1};
    for (std::size_t& size : sizes) {
        const Answer answer = ecu.exchange(0x14);
        if (answer) {
            size = answer.byte(3, static_cast<std::uint8_t>(size));
        }
    }
    g_lists = {};
    if (sizes[0] != 0) {
        g_lists[0] = {2, 1};
    }
    if (sizes[1] != 0) {
        g_lists[1] = {sizes[0] != 0 ? std::size_t{1} : std::size_t{2}};
    }
    return 0;
}

/// An entry that fails ends its ODT.
void writeOdt(Reckoning& ecu, std::size_t entries) {
    for (std::size_t entry = 0; entry < entries; ++entry) {
        if (runSteps(ecu, {{0x15, 1, "CCP SetDaqPtr failed"}, {0x16, 1, "CCP WriteDaq failed"}}) != 0) {
            return;
        }
    }
}

std::uint32_t start(Reckoning& ecu) {
    for (const std::vector<std::size_t>& odts : g_lists) {
        for (const std::size_t entries : odts) {
            writeOdt(ecu, entries);
        }
        ecu.exchange(0x06);
    }
    ecu.exchange(0x06);
    ecu.exchange(0x06);
    return 0;
}

void stopAll(Reckoning& ecu) {
    exchangeAll(ecu, {0x06, 0x06, 0x08});
}

/// A start never fails. If the link is lost, the polling thread finds that.
void starts(Reckoning& ecu, bool isStart) {
    startBy(ecu, prepare, start, isStart, [&ecu] { stopAll(ecu); });
    if (ecu.looksLost()) {
        loseLinkBy(ecu, 0x07);
    }
}

// Calibration

std::uint32_t selectPage(Reckoning& ecu) {
    return runSteps(ecu, {{0x02, 37}, {0x11, 24}});
}

/// The result of the command is not looked at.
std::uint32_t copyPage(Reckoning& ecu) {
    ecu.exchange(0x19);
    return 0;
}

/// What follows a frame that fails is not sent, and nobody learns of it.
void send(Reckoning& ecu, std::uint8_t command, std::size_t count) {
    for (std::size_t sent = 0; sent < count; sent += kPerFrame) {
        if (!ecu.exchange(command)) {
            return;
        }
    }
}

void write(Reckoning& ecu) {
    ecu.log(2, "Calibration variables ecu(ecu)");
    if (runSteps(ecu, {{0x02, 37, "error set mtamap"}}) == 0) {
        send(ecu, 0x03, 8);
    }
    ecu.result(8, 0, "Calibration vars", kMatrixEcu);
}

// Memory

std::uint32_t uploadMemory(Reckoning& ecu) {
    static constexpr std::size_t kTotal = 20;
    if (runSteps(ecu, {{0x02, 37, "SET_MTA failed"}}) != 0) {
        return 37;
    }
    return uploadSteps(ecu, kTotal, [&ecu](std::size_t left) { return upload(ecu, left).size(); });
}

/// Data goes ahead of code. Bytes count as done whether they arrived or not.
std::uint32_t download(Reckoning& ecu) {
    static constexpr std::size_t kTotal = kDataBytes + kCodeBytes;
    if (!ecu.exchange(0x02)) {
        return 37;
    }
    send(ecu, 0x03, kDataBytes);
    reportProgress(ecu, 13, kDataBytes, kTotal);
    if (!ecu.exchange(0x02)) {
        return 37;
    }
    send(ecu, 0x18, kCodeBytes);
    reportProgress(ecu, 13, kTotal, kTotal);
    return 0;
}

/// A range that cannot be cleared does not stop the others, nor does it show in the result.
std::uint32_t erase(Reckoning& ecu) {
    for (int range = 0; range < 2; ++range) {
        runSteps(ecu, {{0x02, 37, "SET_MTA failed"}, {0x10, 1, "CLEAR_MEMORY failed"}});
    }
    return 0;
}

/// A step without its address is left out.
std::uint32_t check(Reckoning& ecu, std::size_t& ranges) {
    for (int step = 0; step < 3; ++step) {
        if (!ecu.exchange(0x02)) {
            continue;
        }
        if (runSteps(ecu, {{0x0E, 70, "BuildChksum failed"}}) != 0) {
            return 70;
        }
        ++ranges;
    }
    return 0;
}

/// Pages and PROGRAM are not looked at.
std::uint32_t force(Reckoning& ecu) {
    if (!ecu.exchange(0x12)) {
        return 1;
    }
    selectPage(ecu);
    if (runSteps(ecu, {{0x02, 1, "ForceWrite2Flash SET_MTA failed"},
                       {0x10, 1, "ForceWrite2Flash CLEAR_MEMORY failed"}}) != 0) {
        return 1;
    }
    selectPage(ecu);
    exchangeAll(ecu, {0x22, 0x22, 0x22, 0x18});
    return 0;
}

// The table

void hasKeys(EcuProtoCfg& cfg) {
    cfg.seedkey_path = "keys";
}

using E = Reckoning;
constexpr Before kNothing = Before::nothing;
constexpr Before kConnected = Before::connected;
constexpr Before kMeasuring = Before::measuring;

}  // namespace

const std::vector<Operation>& ccpOperations() {
    const auto askMeasurement = [] { askStart(Protocol::ccp); };
    static const std::vector<Operation> kRows = {
        {"Connect", kNothing, [](E& ecu) { connectBy(ecu, [](E& e) { return connect(e, false); }); },
         [] { EcuConnect({kMatrixEcu}); }},
        {"Unlock", kNothing, [](E& ecu) { connectBy(ecu, [](E& e) { return connect(e, true); }); },
         [] { EcuConnect({kMatrixEcu}); }, hasKeys},
        {"Prepare", kConnected, [](E& ecu) { starts(ecu, false); }, askMeasurement, nullptr, 0x0F},
        {"Start", kConnected, [](E& ecu) { starts(ecu, true); }, askMeasurement, nullptr, 0x0F},
        {"Read", kConnected, readOnce, askRead},
        {"Poll", kConnected, readAll, askPoll, pollsAll},
        {"Write", kConnected, write, [] { askWrite(8); }},
        {"Page", kConnected, [](E& ecu) { selectPageBy(ecu, selectPage); },
         [] { SetCalPage(kMatrixEcu, true); }},
        {"Copy", kConnected, [](E& ecu) { copyBy(ecu, copyPage); }, [] { EcuCopyRefeToWork(kMatrixEcu); }},
        {"Upload", kConnected, [](E& ecu) { uploadBy(ecu, uploadMemory, selectPage); },
         [] { UploadFromEcuMem(kMatrixEcu, mcMemDataReference); }},
        {"Download", kConnected, [](E& ecu) { downloadBy(ecu, download, selectPage); }, askDownload},
        {"Erase", kConnected, [](E& ecu) { eraseBy(ecu, erase, selectPage); },
         [] { EarseEcu(kMatrixEcu, mcMemCode); }},
        {"Check", kConnected, [](E& ecu) { checkBy(ecu, check, selectPage); }, askCheck},
        {"Force", kConnected, [](E& ecu) { forceBy(ecu, force); }, askForce},
        {"Stop", kMeasuring,
         [](E& ecu) {
             stopBy(ecu, [&ecu] { stopAll(ecu); });
             ecu.result(6, 0, "Stop measurement");
         },
         [] { StopMeasurement(); }},
        {"Disconnect", kConnected, [](E& ecu) { disconnectBy(ecu, 0x07); }, [] { EcuDisconnect(); }},
    };
    return kRows;
}

}  // namespace systemtest
