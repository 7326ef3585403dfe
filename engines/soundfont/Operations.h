// The opcodes, their operands taken out of the argument slots and checked: one function each.
#ifndef VELNOR_ENGINES_SOUNDFONT_OPERATIONS_H
#define VELNOR_ENGINES_SOUNDFONT_OPERATIONS_H

#include "bridge/OrmoEngine.h"
#include "engines/soundfont/Results.h"
#include "platform/Facts.h"

namespace velnor::soundfont {

// The argument slots behind the opcode, as they came.
struct Slots {
    OrmoWord target;
    OrmoWord ptr1;
    OrmoWord ptr2;
    OrmoWord ptr3;
    OrmoWord val1;
};

// Every opcode but kOpProcess. Thread any, concurrent, may block. Throws what the standard library
// throws.
Result operate(uint32_t opcode, const Slots& slots);

// kOpProcess. Thread render, concurrent with operate, nonblocking.
Result process(const Slots& slots) VELNOR_NONBLOCKING;

} // namespace velnor::soundfont

#endif
