// velnor-host components and info.
#ifndef VELNOR_HOST_COMMANDS_INFOCOMMAND_H
#define VELNOR_HOST_COMMANDS_INFOCOMMAND_H

#include <string>

namespace velnor::host {

// What is installed, on standard output, as a table or as JSON. Throws JobError.
void componentsCommand(bool json);

// All that an instrument says of itself; word as findInstrument takes it. Throws JobError.
void infoCommand(const std::string& word, bool json);

} // namespace velnor::host

#endif
