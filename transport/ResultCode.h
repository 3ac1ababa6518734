/// @file
/// Result codes of operations and commands, as far as the library itself gives them. Their texts are in
/// `getErrorString`.
#pragma once

#include <cstdint>

/// 0 is success. The names are the tags of the texts.
enum ResultCode : std::uint32_t {
    kResultOk = 0,
    kResultNoTaskCmd = 1,
    kResultNoEcu = 2,
    kResultConnect = 3,
    kResultVersionMismatch = 5,
    kResultExchangeId = 6,
    kResultSeedKey = 8,
    kResultSeedKeyGenerator = 10,
    kResultSeedUnlock = 11,
    kResultStartStopSynch = 15,
    kResultGetDaqProcessInfo = 16,
    kResultGetDaqResolutionInfo = 17,
    kResultCheckMeasureVar = 18,
    kResultReadData = 19,
    kResultSetCalPage = 23,
    kResultSelectCalPage = 24,
    kResultMemFileEmpty = 26,
    kResultMemFileParse = 28,
    kResultMemFileMerge = 29,
    kResultUpload = 31,
    kResultCheckMemory = 33,
    kResultUploadEmpty = 34,
    kResultDownloadMemBlock = 35,
    kResultSetMta = 37,
    kResultShortUpload = 38,
    kResultGetCommModeInfo = 54,
    kResultGetStatus = 55,
    kResultGetCcpVersion = 57,
    kResultProgramStart = 59,
    kResultProgramClear = 60,
    kResultProgram = 61,
    kResultProgramReset = 64,
    kResultBuildChecksum = 70,
    kResultNoOptCmd = 72,
    kResultOther = 73,
};
