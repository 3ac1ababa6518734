/// @file
/// The texts of the result codes.
#include "TalvexSDK.h"

#include <array>
#include <string_view>

namespace {

/// By code. Two families differ by one character: 指令发收失败, an exchange failed, and 指令发送失败, a
/// command could not be sent.
constexpr std::array<std::string_view, 74> kErrorTexts{{
    "操作成功",
    "不支持的执行指令 - NoTaskCmd",
    "找不到操作的ECU",
    "指令发收失败 - Connect",
    "指令接受超时 - RecvTimeout",
    "协议版本不匹配 - VersionMismatch",
    "指令发收失败 - ExchangeID",
    "指令发收失败 - Disconnect",
    "指令发收失败 - SeedKey",
    "安全算法路径为空 - SeedKeyPathNull",
    "安全算法库加载失败 - SeedKeyGenerator",
    "指令发收失败 - SeedUnlock",
    "指令发收失败 - GetSeed",
    "指令发收失败 - Unlock",
    "指令发收失败 - Validation",
    "指令发收失败 - StartStopSynch",
    "指令发收失败 - GetDAQProcessInfo",
    "指令发收失败 - GetDAQResolutionInfo",
    "校验变量地址失败 - CheckMeasureVar",
    "上传读取数据失败 - ReadData",
    "指令发收失败 - Calibration",
    "指令发收失败 - CalibrationFailed",
    "指令发收失败 - GetCalPage",
    "指令发收失败 - SetCalPage",
    "指令发收失败 - SelectCalPage",
    "指令发收失败 - GetActiveCalPage",
    "文件读取失败 - MemFileEmpty",
    "文件保存失败 - MemFileSave",
    "文件内存解析失败 - MemFileParse",
    "文件内存对比失败 - MemFileMerge",
    "内存擦除失败 - Erase",
    "内存上传失败 - Upload",
    "内存下载失败 - Download",
    "内存校验失败 - CheckMemory",
    "内存上传为空 - UploadEmpty",
    "内存下载内存块失败 - DownloadMemBlock",
    "内存清除内存失败 - ClearMemory",
    "指令发送失败 - SetMTA",
    "指令发送失败 - ShortUpload",
    "指令发送失败 - UploadCmd",
    "指令发送失败 - UploadXcp",
    "指令发送失败 - Dnload",
    "指令发送失败 - GetDaqProcInfo",
    "指令发送失败 - GetDaqResInfo",
    "指令发送失败 - GetDaqEventInfo",
    "指令发送失败 - GetDaqListInfo",
    "指令发送失败 - GetDaqListMode",
    "指令发送失败 - StartStopDaqList",
    "指令发送失败 - SetDaqListMode",
    "指令发送失败 - WriteDaqListEntry",
    "指令发送失败 - WriteDaqListEntries",
    "指令发送失败 - SetDaqPtr",
    "指令发送失败 - GetDaqSize",
    "指令发送失败 - Synchronize",
    "指令发送失败 - GetCommModeInfo",
    "指令发送失败 - GetStatus",
    "指令发送失败 - SetStatus",
    "指令发送失败 - GetCcpVersion",
    "指令发送失败 - GetEventInfo2",
    "指令发送失败 - ProgramStart",
    "指令发送失败 - ProgramClear",
    "指令发送失败 - Program",
    "指令发送失败 - ProgramNext",
    "指令发送失败 - ProgramMax",
    "指令发送失败 - ProgramReset",
    "指令发送失败 - ProgramVerify",
    "指令发送失败 - ProgramPrepare",
    "指令发送失败 - ProgramFormat",
    "指令发送失败 - StartStop",
    "指令发送失败 - StartStopAll",
    "指令发送失败 - BuildChecksum",
    "内存校值失败，内存文件和ECU不匹配 - ChecksumMisMatch",
    "不支持的协议指令 - NoOptCmd",
    "其他指令发送失败 - Other",
}};
static_assert(kErrorTexts[71].size() == 67);
static_assert(kErrorTexts.back() == "其他指令发送失败 - Other");

}  // namespace

std::string getErrorString(std::int32_t code) {
    const auto index = static_cast<std::uint32_t>(code);  // a negative code is far above the last one
    return std::string(index < kErrorTexts.size() ? kErrorTexts[index] : "未知错误");
}
