#include "host/job/DistinctFiles.h"

#include "host/job/JobError.h"

#include <filesystem>
#include <set>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

// Without links, whether it is there yet or not; empty for what can take several outputs: a device,
// a pipe.
std::string regularFile(const std::string& path) {
    std::error_code error;
    if (path.empty() || (fs::exists(path, error) && !fs::is_regular_file(path, error))) {
        return "";
    }
    return fs::weakly_canonical(fs::absolute(path, error), error);
}

} // namespace

void requireDistinctFiles(const std::vector<std::string>& inputs,
                          const std::vector<std::string>& outputs) {
    std::set<std::string> read;
    for (const std::string& input : inputs) {
        read.insert(regularFile(input == "-" ? "/dev/stdin" : input));
    }
    std::set<std::string> written;
    for (const std::string& output : outputs) {
        const std::string file = output == "-" ? "" : regularFile(output);
        if (file.empty()) {
            continue;
        }
        if (read.contains(file)) {
            throw JobError(output + ": it is read, and would be overwritten; name another output",
                           kExitUsage);
        }
        if (!written.insert(file).second) {
            throw JobError(output + ": two outputs have this name", kExitUsage);
        }
    }
}

} // namespace velnor::host
