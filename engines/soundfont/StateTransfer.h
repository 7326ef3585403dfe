// The engine's state read out of a synthesizer and put into one.
#ifndef VELNOR_ENGINES_SOUNDFONT_STATETRANSFER_H
#define VELNOR_ENGINES_SOUNDFONT_STATETRANSFER_H

#include "engines/soundfont/EngineState.h"
#include "engines/soundfont/Synth.h"
#include "platform/Facts.h"

namespace velnor::soundfont {

// Brings state.channels[channel] up to date, but for what only watching the messages tells
// (ParameterNumber.h). Thread any, exclusive, nonblocking.
void captureChannel(const Synth& synth, int channel, EngineState& state) VELNOR_NONBLOCKING;
void captureChannels(const Synth& synth, EngineState& state) VELNOR_NONBLOCKING;

// Gain, polyphony, reverb and chorus, where they differ from `present`. Thread any, exclusive,
// nonblocking.
void applyGlobals(const Synth& synth, const Globals& present,
                  const Globals& wanted) VELNOR_NONBLOCKING;

// The channels, into a synthesizer that was just restarted or reset. A preset that the SoundFont
// does not have is replaced as by a program change. Thread any, exclusive, nonblocking.
void applyChannels(const Synth& synth, const EngineState& wanted) VELNOR_NONBLOCKING;

} // namespace velnor::soundfont

#endif
