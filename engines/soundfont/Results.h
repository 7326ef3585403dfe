// What ormoOpcode answers. The plug-in looks at few of these; a test host may look at all.
#ifndef VELNOR_ENGINES_SOUNDFONT_RESULTS_H
#define VELNOR_ENGINES_SOUNDFONT_RESULTS_H

#include <cstdint>

namespace velnor::soundfont {

enum Result : int32_t {
    kDone = 0,
    kUnknownOpcode = 1,
    kUnknownHandle = 2, // never given out, or closed
    kBadArgument = 3,   // a null address or a count that cannot be
    kRefused = 4,       // a value, rate, chunk or property that this engine does not take
    kNotAvailable = 5,  // out of memory, handles, or without a synthesizer
};

} // namespace velnor::soundfont

#endif
