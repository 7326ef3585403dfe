// What FluidSynth remembers of (non-)registered parameter numbers and pressures but does not tell:
// kept beside it by watching the messages that it accepted.
#ifndef VELNOR_ENGINES_SOUNDFONT_PARAMETERNUMBER_H
#define VELNOR_ENGINES_SOUNDFONT_PARAMETERNUMBER_H

#include "engines/soundfont/EngineState.h"
#include "engines/soundfont/MidiMessage.h"
#include "platform/Facts.h"

namespace velnor::soundfont {

inline constexpr uint8_t kDataEntry = 6;
inline constexpr uint8_t kNrpnLow = 98;
inline constexpr uint8_t kNrpnHigh = 99;
inline constexpr uint8_t kRpnLow = 100;
inline constexpr uint8_t kRpnHigh = 101;
inline constexpr uint8_t kResetAllControllers = 121;
inline constexpr uint8_t kFirstModeMessage = 124;

// NRPN high byte of the messages that address a SoundFont generator. The low bytes after it add up
// to the generator: values below 100 count as they are, 100 to 102 for 100, 1,000 and 10,000.
inline constexpr uint8_t kSoundFontNrpn = 120;

// Brings the channel's state up to a message that FluidSynth accepted. Thread any, exclusive,
// nonblocking.
void track(ChannelState& channel, const MidiMessage& message) VELNOR_NONBLOCKING;

// True for a data entry that would choose one of FluidSynth's tuning tables: there are none here,
// and FluidSynth would allocate an equal-tempered one. Thread any, concurrent, nonblocking.
bool choosesTuningTable(const ChannelState& channel, const MidiMessage& message) VELNOR_NONBLOCKING;

// True for a generator that moves where a sample begins, ends or loops. Notes that sound would read
// outside their sample then, which FluidSynth does not hold them back from. Thread any, concurrent,
// nonblocking.
bool movesSample(int generator) VELNOR_NONBLOCKING;
// True for a data entry that would set such a generator. Thread any, concurrent, nonblocking.
bool setsSampleMove(const ChannelState& channel, const MidiMessage& message) VELNOR_NONBLOCKING;

// True when some messages lead to the channel's nrpnSelect.
bool isReachableNrpn(const ChannelState& channel);

} // namespace velnor::soundfont

#endif
