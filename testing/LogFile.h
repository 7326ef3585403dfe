// A log for the length of a scope, and its messages.
#ifndef VELNOR_TESTING_LOGFILE_H
#define VELNOR_TESTING_LOGFILE_H

#include "support/ConsoleLogger.h"
#include "testing/TempFolder.h"

#include <sstream>
#include <string>
#include <vector>

namespace velnor::testing {

// One text per line of the log: "I:" or "E:", then the message. Further lines of a message stand as
// they are.
inline std::vector<std::string> logMessages(const std::string& path) {
    std::vector<std::string> messages;
    std::istringstream in(ReadFile(path));
    for (std::string line; std::getline(in, line);) {
        const std::size_t time = line.find(':', 2);
        const std::size_t message = time == std::string::npos ? time : line.find(':', time + 1);
        const bool whole = message != std::string::npos && line[1] == ':';
        messages.push_back(whole ? line.substr(0, 2) + line.substr(message + 1) : line);
    }
    return messages;
}

class LogFile {
public:
    LogFile() { mLogger.init(mPath); }

    // The messages since the header.
    std::vector<std::string> messages() const {
        std::vector<std::string> all = logMessages(mPath);
        all.erase(all.begin(), all.begin() + 3);
        return all;
    }

private:
    TempFolder mFolder;
    std::string mPath = mFolder / "test.log";
    ConsoleLogger mLogger;
};

} // namespace velnor::testing

#endif
