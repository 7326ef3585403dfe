// A call as one line of text.
#ifndef VELNOR_ENGINES_PROBE_CALLTEXT_H
#define VELNOR_ENGINES_PROBE_CALLTEXT_H

#include "engines/probe/Probe.h"

#include <string>

namespace velnor::probe {

// Opcode and target in decimal, the seven operands in hexadecimal, "=" and the result, then for
// each part of the bytes "|" and its hexadecimal digits:
//
//     11 1 0 0 0 ac44 200 0 0 = 0 | | |
std::string textOf(const Call& call);

} // namespace velnor::probe

#endif
