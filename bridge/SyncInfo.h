// The transport snapshot that goes to the engine with every render, and its arithmetic. Layout:
// bridge/OrmoEngine.h. A beat is a quarter note.
#ifndef VELNOR_BRIDGE_SYNCINFO_H
#define VELNOR_BRIDGE_SYNCINFO_H

#include "bridge/OrmoEngine.h"
#include "platform/Facts.h"

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

namespace velnor {

struct SyncInfo : OrmoSyncInfo {
    // 120 bpm, 4/4, stopped at 0, prepared for 256 frames at 44,100 Hz.
    SyncInfo();

    // Back to 120 bpm, 4/4, stopped at 0; all derived fields 0. The rate, in Hz, is rounded to a
    // whole number until the next prepare stores the exact one. Nonblocking.
    void reset(double rate) VELNOR_NONBLOCKING;

    // Completes the derived fields for a block of so many frames at this rate in Hz. False when
    // the host's values contradict each other (valid): then playing becomes 0, samplesToBar,
    // blockBeats, crossesBar and crossesLoopEnd stay as they are, and text, when given and not
    // quiet, gets the description. label is not used. Nonblocking when quiet.
    bool prepare(int frames, double rate, const char* label, std::string* text,
                 bool quiet) VELNOR_NONBLOCKING;

    // 0 when usable, as a stopped transport always is; else what is wrong:
    //   1 sample rate not positive    6 denominator below 1         9 loop end negative
    //   3 tempo not positive          7 bar start after position   10 loop start negative
    //   4 position negative           8 position beyond the bar    11 loop start after loop end
    //   5 numerator below 1
    // Clears looping when the block, as long as the last prepare made it, lies outside the loop.
    // Nonblocking.
    int valid() VELNOR_NONBLOCKING;

    // Replaces text by one line that describes the snapshot, code first. True when code is 0.
    bool log(int code, std::string& text) const;
};

static_assert(sizeof(SyncInfo) == sizeof(OrmoSyncInfo));
static_assert(std::is_trivially_copyable_v<SyncInfo> && std::is_standard_layout_v<SyncInfo>);

// Samples from ppq to the next bar line, 0 on barStart and on later lines, a whole bar on an
// earlier one, never negative. Positions in beats, rate in Hz. A numerator and denominator that
// give no positive bar length count as 4/4. A distance beyond the range of int is cut to that
// range, one that is no number is 0. Nonblocking.
int samplesToNextBar(double bpm, double ppq, double barStart, double numerator, double denominator,
                     double rate) VELNOR_NONBLOCKING;

// Samples from ppq to the next whole beat or the end of the bar that starts at barStart, whichever
// is first; else as samplesToNextBar.
int samplesToNextBeat(double bpm, double ppq, double barStart, double numerator, double denominator,
                      double rate) VELNOR_NONBLOCKING;

// value cut toward zero, values beyond the range cut to it, 0 for what is no number.
inline int truncateToInt32(double value) VELNOR_NONBLOCKING {
    constexpr int kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr int kHighest = std::numeric_limits<std::int32_t>::max();
    if (!(value > kLowest)) {
        return value <= kLowest ? kLowest : 0;
    }
    return value < kHighest ? static_cast<std::int32_t>(value) : kHighest;
}

} // namespace velnor

#endif
