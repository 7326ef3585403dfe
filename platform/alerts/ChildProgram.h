// Other programs, started without a shell.
#ifndef VELNOR_PLATFORM_ALERTS_CHILDPROGRAM_H
#define VELNOR_PLATFORM_ALERTS_CHILDPROGRAM_H

#include "platform/alerts/Deadline.h"

#include <optional>
#include <string>
#include <vector>

namespace velnor {

// The executable file of that name in the absolute folders of PATH; nothing when there is none.
std::optional<std::string> FindProgram(const std::string& name);

struct ProgramResult {
    enum class End {
        Exited,   // with that status
        Failed,   // it was not started, or a signal ended it
        TimedOut, // the deadline came first, and the program was killed
        Unknown   // somebody else has collected its status
    };
    End end;
    int status;
    std::string output; // the first bytes of its standard output
    std::string errors; // the first bytes of its standard error, which is not shown
};

// Runs a program to its end, not to that of what it leaves running. It reads nothing and inherits
// nothing but the environment.
ProgramResult RunProgram(const std::string& path, const std::vector<std::string>& arguments,
                         const Deadline& deadline);

// Starts a program that is no child of this process, so that nobody has to wait for it. False when
// it cannot be started.
bool StartDetachedProgram(const std::string& path, const std::vector<std::string>& arguments);

} // namespace velnor

#endif
