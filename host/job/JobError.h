// A job that failed: what the person at the terminal reads, and the exit status that goes with it.
#ifndef VELNOR_HOST_JOB_JOBERROR_H
#define VELNOR_HOST_JOB_JOBERROR_H

#include <stdexcept>
#include <string>

namespace velnor::host {

enum ExitStatus { kExitDone = 0, kExitFailed = 1, kExitUsage = 2 };

// One line without a full stop or newline that names the file or value and what to do.
class JobError : public std::runtime_error {
public:
    explicit JobError(const std::string& line, ExitStatus status = kExitFailed)
        : std::runtime_error(line), mStatus(status) {}
    ExitStatus exitStatus() const { return mStatus; }

private:
    ExitStatus mStatus;
};

} // namespace velnor::host

#endif
