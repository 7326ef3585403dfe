// The one way in which a line gets into the log.
#ifndef VELNOR_SUPPORT_LOGLINE_H
#define VELNOR_SUPPORT_LOGLINE_H

#include <string_view>

namespace velnor {

enum class LogSeverity { kInformation, kError };

// Writes "I:" or "E:", the thread's id, ":", myMS(), ":", the message and a line end to
// g_pluginStream, and flushes it. Without an open log or memory the line is dropped; a failed write
// is not noticed. A message may hold line breaks.
//
// Thread any, concurrent, may block. Takes no lock: lines of two threads may come in either order.
void LogLine(LogSeverity severity, std::string_view message);

} // namespace velnor

#endif
