// The log file of a host process.
#ifndef VELNOR_SUPPORT_CONSOLELOGGER_H
#define VELNOR_SUPPORT_CONSOLELOGGER_H

#include <fstream>
#include <string>

// One open log. From init until destruction g_pluginStream designates its stream; everything else
// writes lines with velnor::LogLine. The destructor ends the log with "@"; one without is copied to
// PATH + "_" + date + ".log" before the next run truncates it. Processes that run at the same time
// share the log: later ones go on in it, and the last one closes it, also for one that crashed
// beside it.
//
// Thread main, exclusive, may block. No line may be written while a logger is made or destroyed.
class ConsoleLogger {
public:
    ConsoleLogger() = default;
    // Writes the footer and the mark of a clean close.
    virtual ~ConsoleLogger();
    ConsoleLogger(const ConsoleLogger&) = delete;
    ConsoleLogger& operator=(const ConsoleLogger&) = delete;

    // Opens the log, whose folder exists, and writes the header. False when it cannot be written;
    // lines are then dropped.
    bool init(const std::string& path);

    // True when the stream has no error.
    bool good() const { return mStream.good(); }

private:
    std::string mPath;
    std::fstream mStream;
};

// The process's logger, owned by whoever brings plug-in instances up; null when there is none.
extern ConsoleLogger* g_logger;

// Where log lines go: null before the first init and once the designated logger is destroyed; after
// a failed init, a stream that is not open.
extern std::fstream* g_pluginStream;

#endif
