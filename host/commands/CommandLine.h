// velnor-host's command line.
#ifndef VELNOR_HOST_COMMANDS_COMMANDLINE_H
#define VELNOR_HOST_COMMANDS_COMMANDLINE_H

namespace velnor::host {

// Parses, runs the command and returns the exit status; every error is one line on standard error.
int runCommandLine(int argc, char** argv);

} // namespace velnor::host

#endif
