#pragma once
// What `korv trace` shares with the program that it traces: the three objects that the driver
// knows, and two of the host's own. docs/trace.md describes them.
#include "driver/diag/korvtrace.h"
#include "tools/korv/capture/word_log.h"

namespace korv::trace {

inline constexpr const char* kLeave = "GTraceSemP";     // the next batch may go
inline constexpr const char* kReport = "GTraceSemC";    // a batch is done
inline constexpr const char* kRecord = "GTraceShm";     // a DMATraceRecord
inline constexpr const char* kAsk = "KorvTraceAsk";     // the driver waits for leave
inline constexpr const char* kWords = "KorvTraceWords"; // a WordLog

} // namespace korv::trace
