#include "support/ConsoleLogger.h"

#include "support/DateText.h"
#include "support/FileCopy.h"
#include "support/Files.h"
#include "support/JoinedText.h"
#include "support/LogLine.h"
#include "support/SharedLog.h"
#include "support/Text.h"

#include <algorithm>
#include <locale>
#include <new>

ConsoleLogger* g_logger = nullptr;
std::fstream* g_pluginStream = nullptr;

namespace {

using velnor::kCleanCloseMark;
using velnor::LogLine;
using velnor::LogSeverity;

constexpr const char* kBuildDate = "Aug 12 2009";
constexpr std::size_t kSeparatorLength = 79;

std::string separator() {
    return std::string(kSeparatorLength, '-');
}

std::string now() {
    return velnor::dateText(std::time(nullptr));
}

// The date as a file name takes it.
std::string startDate() {
    std::string date = now();
    std::replace(date.begin(), date.end(), ':', '_');
    return date;
}

// False too for a file that cannot be read.
bool endsUnclean(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char last = kCleanCloseMark;
    return in.seekg(-1, std::ios::end) && in.get(last) && last != kCleanCloseMark;
}

void saveUncleanLog(const std::string& path, const std::string& date) {
    if (fileExists(path, true) && fileSize(path) != 0 && endsUnclean(path)) {
        PCopyFile(path, path + "_" + date + ".log", true);
    }
}

// Unbuffered and at the end of the file, so that each line goes there in one piece whoever else
// writes; numbers without the grouping of a host's locale.
void openStream(std::fstream& stream, const std::string& path) {
    if (stream.is_open()) {
        stream.close();
    }
    stream.clear();
    stream.imbue(std::locale::classic());
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    stream.open(path, std::ios::out | std::ios::app);
}

} // namespace

bool ConsoleLogger::init(const std::string& path) {
    if (!mPath.empty()) {
        const velnor::SharedLogExit former(mPath);
    }
    mPath = path;
    const std::string date = startDate();
    velnor::enterSharedLog(mPath, [&] { saveUncleanLog(mPath, date); });
    openStream(mStream, mPath);
    g_pluginStream = &mStream;
    if (mStream.good()) {
        LogLine(LogSeverity::kInformation,
                velnor::joined("g_pluginStream:", static_cast<const void*>(g_pluginStream)));
    }
    if (!mStream.good()) {
        return false;
    }
    LogLine(LogSeverity::kInformation,
            VLNSConv(mPath) + " opened on: " + VLNSConv(date) + " BUILD:" + kBuildDate);
    LogLine(LogSeverity::kInformation, separator());
    return true;
}

ConsoleLogger::~ConsoleLogger() {
    try {
        LogLine(LogSeverity::kInformation, separator());
        LogLine(LogSeverity::kInformation, VLNSConv(mPath) + " closed on: " + VLNSConv(now()));
    } catch (const std::bad_alloc&) {
        // Lines are dropped; the mark that follows takes no memory.
    }
    const velnor::SharedLogExit exit(mPath);
    if (exit.IsLast() && g_pluginStream != nullptr && g_pluginStream->is_open()) {
        g_pluginStream->put(kCleanCloseMark).flush();
    }
    if (g_pluginStream == &mStream) {
        g_pluginStream = nullptr;
    }
}
