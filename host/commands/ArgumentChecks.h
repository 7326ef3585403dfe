// What a word of the command line must be.
#ifndef VELNOR_HOST_COMMANDS_ARGUMENTCHECKS_H
#define VELNOR_HOST_COMMANDS_ARGUMENTCHECKS_H

#include <CLI/CLI.hpp>
#include <string>

namespace velnor::host {

// An empty word names nothing: as a rule a variable of a script was never set.
CLI::Validator notEmpty();

// A finite number in the range; "nan" is in none. text says in words what to give.
CLI::Validator numberWithin(double least, double most, const std::string& text);

} // namespace velnor::host

#endif
