// velnor-host doctor: what a support person asks, answered.
#ifndef VELNOR_HOST_COMMANDS_DOCTORCOMMAND_H
#define VELNOR_HOST_COMMANDS_DOCTORCOMMAND_H

#include <string>

namespace velnor::host {

// Prints what it finds on standard output, one fact a line with "ok" or "!!", and one plain
// sentence at the end. word as findInstrument takes it. True when an instrument would play.
bool doctorCommand(const std::string& word);

} // namespace velnor::host

#endif
