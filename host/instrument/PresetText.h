// Preset files as lines of text.
#ifndef VELNOR_HOST_INSTRUMENT_PRESETTEXT_H
#define VELNOR_HOST_INSTRUMENT_PRESETTEXT_H

#include "platform/CFBase.h"

#include <string>
#include <vector>

namespace velnor::host {

// A line for each value, "a/b[0] = 1": the keys that lead to it, and the places in lists from 0 on;
// one, too, for a dictionary or list with nothing in it.
std::vector<std::string> linesOf(CFPropertyListRef preset);

// The lines of what a has and b has not, or has otherwise, after "- ", and of what b has after
// "+ "; none when both hold the same. Values are compared, not lines.
std::vector<std::string> differencesOf(CFPropertyListRef a, CFPropertyListRef b);

} // namespace velnor::host

#endif
