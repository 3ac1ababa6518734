#include "tests/channel/ChannelCalls.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace channel_test {

const std::vector<Function>& functions() {
    static const std::vector<Function> rows{
        {"xcpConnect",
         [](const Args& a, const Ends& e) { return xcpConnect(e.slave, a.b0, e.buffer, e.size); }},
        {"xcpDisconnect",
         [](const Args&, const Ends& e) { return xcpDisconnect(e.slave, e.buffer, e.size); }},
        {"xcpGetStatus", [](const Args&, const Ends& e) { return xcpGetStatus(e.slave, e.buffer, e.size); }},
        {"xcpSynchronize",
         [](const Args&, const Ends& e) { return xcpSynchronize(e.slave, e.buffer, e.size); }},
        {"xcpGetCommModeInfo",
         [](const Args&, const Ends& e) { return xcpGetCommModeInfo(e.slave, e.buffer, e.size); }},
        {"xcpGetIdentification",
         [](const Args& a, const Ends& e) { return xcpGetIdentification(e.slave, a.b0, e.buffer, e.size); }},
        {"xcpSetRequest",
         [](const Args& a, const Ends& e) { return xcpSetRequest(e.slave, a.b0, a.w0, e.buffer, e.size); }},
        {"xcpTransportLayerCommand",
         [](const Args& a, const Ends& e) {
             return xcpTransportLayerCommand(e.slave, a.b1, a.data, a.b0, e.buffer, e.size);
         }},
        {"xcpUserCommand",
         [](const Args& a, const Ends& e) {
             return xcpUserCommand(e.slave, a.b1, a.data, a.b0, e.buffer, e.size);
         }},
        {"xcpGetSeed",
         [](const Args& a, const Ends& e) { return xcpGetSeed(e.slave, a.b0, a.b1, e.buffer, e.size); }},
        {"xcpUnlock",
         [](const Args& a, const Ends& e) { return xcpUnlock(e.slave, a.b0, a.data, e.buffer, e.size); }},
        {"xcpSetMta",
         [](const Args& a, const Ends& e) { return xcpSetMta(e.slave, a.b0, a.l0, e.buffer, e.size); }},
        {"xcpUpload",
         [](const Args& a, const Ends& e) { return xcpUpload(e.slave, a.b0, e.buffer, e.size); }},
        {"xcpShortUpload",
         [](const Args& a, const Ends& e) {
             return xcpShortUpload(e.slave, a.b0, a.b1, a.l0, e.buffer, e.size);
         }},
        {"xcpBuildChecksum",
         [](const Args& a, const Ends& e) { return xcpBuildChecksum(e.slave, a.l0, e.buffer, e.size); }},
        {"xcpDownload",
         [](const Args& a, const Ends& e) {
             return xcpDownload(e.slave, a.b1, a.data, a.b0, e.buffer, e.size);
         }},
        {"xcpDownloadNext",
         [](const Args& a, const Ends& e) {
             return xcpDownloadNext(e.slave, a.b1, a.data, a.b0, e.buffer, e.size);
         }},
        {"xcpDownloadMax",
         [](const Args& a, const Ends& e) { return xcpDownloadMax(e.slave, a.data, e.buffer, e.size); }},
        {"xcpShortDownload",
         [](const Args& a, const Ends& e) {
             return xcpShortDownload(e.slave, a.b0, a.b1, a.l0, a.data, a.b2, e.buffer, e.size);
         }},
        {"xcpModifyBits",
         [](const Args& a, const Ends& e) {
             return xcpModifyBits(e.slave, a.b0, a.w0, a.w1, e.buffer, e.size);
         }},
        {"xcpSetCalibrationPage",
         [](const Args& a, const Ends& e) {
             return xcpSetCalibrationPage(e.slave, a.b0, XcpPageRef{a.b1, a.b2}, e.buffer, e.size);
         }},
        {"xcpGetCalibrationPage",
         [](const Args& a, const Ends& e) {
             return xcpGetCalibrationPage(e.slave, a.b0, a.b1, e.buffer, e.size);
         }},
        {"xcpCopyCalibrationPage",
         [](const Args& a, const Ends& e) {
             return xcpCopyCalibrationPage(e.slave, XcpPageRef{a.b0, a.b1}, XcpPageRef{a.b2, a.b3}, e.buffer,
                                           e.size);
         }},
        {"xcpGetPagingProcessorInfo",
         [](const Args&, const Ends& e) { return xcpGetPagingProcessorInfo(e.slave, e.buffer, e.size); }},
        {"xcpGetSegmentInformation",
         [](const Args& a, const Ends& e) {
             return xcpGetSegmentInformation(e.slave, a.b0, a.b1, a.b2, a.b3, e.buffer, e.size);
         }},
        {"xcpGetPageInformation",
         [](const Args& a, const Ends& e) {
             return xcpGetPageInformation(e.slave, XcpPageRef{a.b0, a.b1}, e.buffer, e.size);
         }},
        {"xcpSetSegmentMode",
         [](const Args& a, const Ends& e) {
             return xcpSetSegmentMode(e.slave, a.b0, a.b1, e.buffer, e.size);
         }},
        {"xcpGetSegmentMode",
         [](const Args& a, const Ends& e) { return xcpGetSegmentMode(e.slave, a.b0, e.buffer, e.size); }},
        {"xcpGetDaqClock",
         [](const Args&, const Ends& e) { return xcpGetDaqClock(e.slave, e.buffer, e.size); }},
        {"xcpGetDaqProcessorInfo",
         [](const Args&, const Ends& e) { return xcpGetDaqProcessorInfo(e.slave, e.buffer, e.size); }},
        {"xcpGetDaqResolutionInfo",
         [](const Args&, const Ends& e) { return xcpGetDaqResolutionInfo(e.slave, e.buffer, e.size); }},
        {"xcpGetDaqEventInfo",
         [](const Args& a, const Ends& e) { return xcpGetDaqEventInfo(e.slave, a.b0, e.buffer, e.size); }},
        {"xcpGetDaqListInfo",
         [](const Args& a, const Ends& e) { return xcpGetDaqListInfo(e.slave, a.w0, e.buffer, e.size); }},
        {"xcpGetDaqListMode",
         [](const Args& a, const Ends& e) { return xcpGetDaqListMode(e.slave, a.w0, e.buffer, e.size); }},
        {"xcpFreeDaqLists",
         [](const Args&, const Ends& e) { return xcpFreeDaqLists(e.slave, e.buffer, e.size); }},
        {"xcpAllocateDaqLists",
         [](const Args& a, const Ends& e) { return xcpAllocateDaqLists(e.slave, a.w0, e.buffer, e.size); }},
        {"xcpAllocateOdt",
         [](const Args& a, const Ends& e) { return xcpAllocateOdt(e.slave, a.w0, a.b0, e.buffer, e.size); }},
        {"xcpAllocateOdtEntry",
         [](const Args& a, const Ends& e) {
             return xcpAllocateOdtEntry(e.slave, a.w0, a.b0, a.b1, e.buffer, e.size);
         }},
        {"xcpClearDaqList",
         [](const Args& a, const Ends& e) { return xcpClearDaqList(e.slave, a.w0, e.buffer, e.size); }},
        {"xcpSetDaqPtr",
         [](const Args& a, const Ends& e) {
             return xcpSetDaqPtr(e.slave, a.w0, a.b0, a.b1, e.buffer, e.size);
         }},
        {"xcpWriteDaqListEntry",
         [](const Args& a, const Ends& e) {
             return xcpWriteDaqListEntry(e.slave, XcpDaqEntry{a.b0, a.b1, a.b2, a.l0}, e.buffer, e.size);
         }},
        {"xcpWriteDaqListEntries",
         [](const Args& a, const Ends& e) {
             return xcpWriteDaqListEntries(e.slave, a.b0, a.entries, e.buffer, e.size);
         }},
        {"xcpReadDaqListEntry",
         [](const Args&, const Ends& e) { return xcpReadDaqListEntry(e.slave, e.buffer, e.size); }},
        {"xcpSetDaqListMode",
         [](const Args& a, const Ends& e) {
             return xcpSetDaqListMode(e.slave, a.b0, XcpDaqListSetup{a.w0, a.w1, a.b1, a.b2}, e.buffer,
                                      e.size);
         }},
        {"xcpStartStopDaqList",
         [](const Args& a, const Ends& e) {
             return xcpStartStopDaqList(e.slave, a.b0, a.w0, e.buffer, e.size);
         }},
        {"xcpStartStopSynch",
         [](const Args& a, const Ends& e) { return xcpStartStopSynch(e.slave, a.b0, e.buffer, e.size); }},
        {"xcpProgramStart",
         [](const Args&, const Ends& e) { return xcpProgramStart(e.slave, e.buffer, e.size); }},
        {"xcpProgramClear",
         [](const Args& a, const Ends& e) { return xcpProgramClear(e.slave, a.b0, a.l0, e.buffer, e.size); }},
        {"xcpProgram",
         [](const Args& a, const Ends& e) {
             return xcpProgram(e.slave, a.b1, a.data, a.b0, e.buffer, e.size);
         }},
        {"xcpProgramNext",
         [](const Args& a, const Ends& e) {
             return xcpProgramNext(e.slave, a.b1, a.data, a.b0, e.buffer, e.size);
         }},
        {"xcpProgramMax",
         [](const Args& a, const Ends& e) { return xcpProgramMax(e.slave, a.data, e.buffer, e.size); }},
        {"xcpProgramReset",
         [](const Args&, const Ends& e) { return xcpProgramReset(e.slave, e.buffer, e.size); }},
        {"xcpProgramVerify",
         [](const Args& a, const Ends& e) {
             return xcpProgramVerify(e.slave, a.b0, a.w0, a.l0, e.buffer, e.size);
         }},
        {"xcpProgramPrepare",
         [](const Args& a, const Ends& e) { return xcpProgramPrepare(e.slave, a.w0, e.buffer, e.size); }},
        {"xcpProgramFormat",
         [](const Args& a, const Ends& e) { return xcpProgramFormat(e.slave, a.l0, e.buffer, e.size); }},
        {"xcpGetPgmProcessorInfo",
         [](const Args&, const Ends& e) { return xcpGetPgmProcessorInfo(e.slave, e.buffer, e.size); }},
        {"xcpGetSectorInfo",
         [](const Args& a, const Ends& e) {
             return xcpGetSectorInfo(e.slave, a.b0, a.b1, e.buffer, e.size);
         }},
    };
    return rows;
}

const Function& functionOf(const char* name) {
    const auto row = std::find_if(functions().begin(), functions().end(), [name](const Function& function) {
        return std::string_view(function.name) == name;
    });
    if (row == functions().end()) {
        throw std::invalid_argument(name);
    }
    return *row;
}

}  // namespace channel_test
