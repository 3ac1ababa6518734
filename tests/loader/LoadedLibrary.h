/* The library as a host has it that links nothing: opened by path, every function looked up by name. */
#ifndef TALVEX_LOADER_LOADED_LIBRARY_H
#define TALVEX_LOADER_LOADED_LIBRARY_H

#include <TalvexChannel.h>
#include <TalvexPlain.h>

/* Every function of the channel interface. */
#define TALVEX_CHANNEL_FUNCTIONS(ROW) \
    ROW(xcpInitializeCan)             \
    ROW(xcpUninitialize)              \
    ROW(xcpAddSlave)                  \
    ROW(xcpConfigSlave)               \
    ROW(xcpRemoveSlave)               \
    ROW(xcpGetErrorText)              \
    ROW(xcpResetQueue)                \
    ROW(xcpDequeuePacket)             \
    ROW(xcpConnect)                   \
    ROW(xcpDisconnect)                \
    ROW(xcpGetStatus)                 \
    ROW(xcpSynchronize)               \
    ROW(xcpGetCommModeInfo)           \
    ROW(xcpGetIdentification)         \
    ROW(xcpSetRequest)                \
    ROW(xcpTransportLayerCommand)     \
    ROW(xcpUserCommand)               \
    ROW(xcpGetSeed)                   \
    ROW(xcpUnlock)                    \
    ROW(xcpGetSeedEx)                 \
    ROW(xcpUnlockEx)                  \
    ROW(xcpSetMta)                    \
    ROW(xcpUpload)                    \
    ROW(xcpShortUpload)               \
    ROW(xcpBuildChecksum)             \
    ROW(xcpDownload)                  \
    ROW(xcpDownloadNext)              \
    ROW(xcpDownloadMax)               \
    ROW(xcpShortDownload)             \
    ROW(xcpModifyBits)                \
    ROW(xcpSetCalibrationPage)        \
    ROW(xcpGetCalibrationPage)        \
    ROW(xcpCopyCalibrationPage)       \
    ROW(xcpGetPagingProcessorInfo)    \
    ROW(xcpGetSegmentInformation)     \
    ROW(xcpGetPageInformation)        \
    ROW(xcpSetSegmentMode)            \
    ROW(xcpGetSegmentMode)            \
    ROW(xcpGetDaqClock)               \
    ROW(xcpGetDaqProcessorInfo)       \
    ROW(xcpGetDaqResolutionInfo)      \
    ROW(xcpGetDaqEventInfo)           \
    ROW(xcpGetDaqListInfo)            \
    ROW(xcpGetDaqListMode)            \
    ROW(xcpFreeDaqLists)              \
    ROW(xcpAllocateDaqLists)          \
    ROW(xcpAllocateOdt)               \
    ROW(xcpAllocateOdtEntry)          \
    ROW(xcpClearDaqList)              \
    ROW(xcpSetDaqPtr)                 \
    ROW(xcpWriteDaqListEntry)         \
    ROW(xcpWriteDaqListEntries)       \
    ROW(xcpReadDaqListEntry)          \
    ROW(xcpSetDaqListMode)            \
    ROW(xcpStartStopDaqList)          \
    ROW(xcpStartStopSynch)            \
    ROW(xcpProgramStart)              \
    ROW(xcpProgramClear)              \
    ROW(xcpProgram)                   \
    ROW(xcpProgramNext)               \
    ROW(xcpProgramMax)                \
    ROW(xcpProgramReset)              \
    ROW(xcpProgramVerify)             \
    ROW(xcpProgramPrepare)            \
    ROW(xcpProgramFormat)             \
    ROW(xcpGetPgmProcessorInfo)       \
    ROW(xcpGetSectorInfo)

/* One pointer per function, of the type that the header declares. */
#define TALVEX_POINTER(name) __typeof__(&name) name;
typedef struct LoadedLibrary {
    void* handle;
    void* setCallBackFuns;
    __typeof__(&recvCanMsg) recvCanMsg;
    TALVEX_CHANNEL_FUNCTIONS(TALVEX_POINTER)
} LoadedLibrary;
#undef TALVEX_POINTER

/* Opens the library and looks everything up. Returns 0 if a name is missing, with a message. */
int loadLibrary(LoadedLibrary* library, const char* path);

/* Returns 0 if the library is still there afterwards, with a message. */
int unloadLibrary(LoadedLibrary* library, const char* path);

/* Compares TALVEX_CHANNEL_FUNCTIONS with the list of exports, which also holds xcpTest, a function of C++.
   Returns 0 if one lacks a name that the other has, with a message. */
int checkExportList(const char* path);

#endif /* TALVEX_LOADER_LOADED_LIBRARY_H */
