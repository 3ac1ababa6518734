/// @file
/// TalvexSDK: a CCP and XCP master on CAN and CAN FD. Including this header gives a host everything exported.
///
/// Conventions
///
/// 1. Texts are UTF-8. Lengths and sizes are bytes. Names of ECUs and variables are compared byte for byte.
/// 2. Times: frames and values in microseconds, log calls in milliseconds, settings as their names say.
/// 3. Three number spaces of results are kept apart. *Result codes* 0 to 73 come with commands
///    (`taskResultFun`, `memResultFun`, `getErrorString`), 0 is success. *XCP status*: 256 success, 1 to 255
///    the ECU's error code, 2304 no answer. *CCP status*: 0 success, 128 no answer, else the ECU's return
///    code.
/// 4. An ECU is known by `EcuProtoCfg::ecuName`. There is no handle: the engine is one per process; it comes
///    into being with the first call and ends when the library is unloaded.
/// 5. Command functions return at once. Commands run one after the other on the worker thread and report
///    through `taskResultFun`; upload, download, erase and check through `memResultFun`. At most 100 wait;
///    one more drops the oldest.
/// 6. Records are copied in both directions; nothing handed over is referred to later. A connected ECU keeps
///    the configuration, the callbacks and the log functions that were set when `EcuConnect` ran.
/// 7. Threads: `taskResultFun`, `memResultFun`, `measureFun` of kind 0 and 2, the seed loaders and
///    `daqInfoFun` run on the worker thread; `measureFun` of kind 1 and `taskResultFun` with 3 on the polling
///    thread; `sndFun` and `msgDecodeFun` on both; log functions on any thread of the library, also on a host
///    thread that fills the queue or calls `stopAllTask`.
/// 8. Every function may be called from inside every callback, but for one: a log function must call neither
///    a command function nor `stopAllTask`, as the line about a full queue goes out while the queue is
///    locked.
/// 9. No exported function throws but for a failed lock or thread start, unless its comment says so.
///
/// A session
///
/// @code
///   CallBackFuns callbacks;
///   callbacks.sndFun = [](std::uint8_t channel, std::uint32_t id, std::uint8_t flags, std::uint8_t length,
///                         const std::uint8_t* data) -> std::uint32_t { return bus_send(...); };
///   callbacks.measureFun = on_values;
///   callbacks.taskResultFun = on_result;
///   setLogBackFuns(on_log);
///   setCallBackFuns(callbacks);
///   setProtoCfgs({cfg});            // one EcuProtoCfg per ECU
///   // From here on every frame of the bus goes to recvCanMsg.
///   EcuConnect({"engine"});         // wait for taskResultFun(1, ...)
///   StartMeasurement({{"engine", variables}});  // taskResultFun(4, ...), taskResultFun(5, ...), then values
///   StopMeasurement();
///   EcuDisconnect();                // wait for taskResultFun(2, ...)
/// @endcode
#pragma once

#include "TalvexAnalyse.h"
#include "TalvexChannel.h"
#include "TalvexExport.h"
#include "TalvexMemory.h"
#include "TalvexPlain.h"
#include "TalvexPlan.h"
#include "TalvexRecords.h"
#include "TalvexSelfTest.h"

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

// Configuration and query. All act at once on the caller's thread.

/// Replaces all configurations, in the order of @p cfgs. Connected ECUs keep theirs until the next connect.
TALVEX_API void setProtoCfgs(const std::list<EcuProtoCfg>& cfgs);

/// Overwrites the first configuration named @p name by @p cfg, its name included. Never adds one: an unknown
/// name changes nothing.
TALVEX_API void setProtoCfg(const std::string& name, const EcuProtoCfg& cfg);

/// The configurations as the host gave them, without the ECUs' answers.
/// @return a copy
TALVEX_API std::list<EcuProtoCfg> getProtoCfg();

/// Whether an ECU was taken up.
/// @return true if the engine counts as connected and holds an ECU named @p name, even if that ECU's own
///         connect failed with another result than 3
TALVEX_API bool isEcuConnect(const std::string& name);

/// Sets each function of @p callbacks that is not null; the others stay as they were. Connected ECUs keep
/// theirs until the next connect. `reserved` and `logFuns` are ignored.
TALVEX_API void setCallBackFuns(CallBackFuns callbacks);

/// Adds a log function, unless it is there already. There is no way to remove one. Not protected: call it
/// ahead of everything else.
TALVEX_API void setLogBackFuns(logFun log);

/// The text of a result code.
/// @return the text, "未知错误" for anything but 0 to 73. Needs no engine
TALVEX_API std::string getErrorString(std::int32_t code);

// Commands. Each copies its arguments, queues and returns; results come through the callbacks. None tests
// whether the ECU exists: that happens on the worker thread.

/// Connects ECUs in the order of @p names (command 1); the first failure ends it. Makes each ECU anew from
/// its present configuration.
TALVEX_API void EcuConnect(const std::vector<std::string>& names);

/// Starts a measurement (command 5, with notification 4 ahead). Names without a connected ECU are passed
/// over.
TALVEX_API void StartMeasurement(const std::map<std::string, std::vector<mcMeasureVariable>>& variables);

/// Reads variables once (command 7); the values come through `measureFun` with kind 0.
TALVEX_API void MeasureVars(const std::string& name, const std::vector<mcMeasureVariable>& variables);

/// Writes @p bytes to a variable (command 8). At most 255 bytes go out: the count is cut to 8 bits. The
/// result is 0 even if the write failed; the log tells.
TALVEX_API void CalibrationVar(const std::string& name, const mcMeasureVariable& variable,
                               const std::vector<std::uint8_t>& bytes);

/// Selects the working (true) or the reference page (false) (command 9).
TALVEX_API void SetCalPage(const std::string& name, bool page);

/// Uploads the ranges that @p memType selects (command 10); the bytes come through `memResultFun`.
TALVEX_API void UploadFromEcuMem(const std::string& name, mcMemOperType memType);

/// Downloads @p blocks into the ranges that @p memType selects (command 11).
TALVEX_API void DownToEcuMem(const std::string& name, mcMemOperType memType,
                             const std::list<mem_buf>& blocks);

/// Clears and programs data segments from a file (command 14): with XCP those of memory type 2, with CCP all.
TALVEX_API void ForceDataDownToEcu(const std::string& name, const std::string& path);

/// Erases memory (command 15): with XCP all code segments, with CCP the ranges that @p memType selects; 0
/// erases nothing.
TALVEX_API void EarseEcu(const std::string& name, mcMemOperType memType);

/// Fetches the ECU's checksums of the ranges that @p memType selects, beside those of @p blocks (command 16).
/// Nothing is compared: `memResultFun` gets both.
TALVEX_API void CheckEcuMemory(const std::string& name, const std::list<mem_buf>& blocks,
                               mcMemOperType memType);

/// Copies the reference page to the working page (command 18).
TALVEX_API void EcuCopyRefeToWork(const std::string& name);
