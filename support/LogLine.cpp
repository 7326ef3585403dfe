#include "support/LogLine.h"

#include "support/ConsoleLogger.h"
#include "support/Timing.h"

#include <new>
#include <pthread.h>
#include <string>

namespace velnor {

void LogLine(LogSeverity severity, std::string_view message) {
    std::fstream* stream = g_pluginStream;
    if (stream == nullptr || !stream->is_open()) {
        return;
    }
    const uint64_t time = myMS();
    const auto thread = static_cast<uintptr_t>(pthread_self());
    try {
        std::string line = severity == LogSeverity::kError ? "E:" : "I:";
        line.append(std::to_string(thread)).append(1, ':');
        line.append(std::to_string(time)).append(1, ':');
        line.append(message).append(1, '\n');
        stream->write(line.data(), static_cast<std::streamsize>(line.size())).flush();
    } catch (const std::bad_alloc&) {
        return;
    }
}

} // namespace velnor
