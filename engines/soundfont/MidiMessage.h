// One MIDI message, checked.
#ifndef VELNOR_ENGINES_SOUNDFONT_MIDIMESSAGE_H
#define VELNOR_ENGINES_SOUNDFONT_MIDIMESSAGE_H

#include "bridge/OrmoEngine.h"
#include "platform/Facts.h"

#include <cstdint>

namespace velnor::soundfont {

struct MidiMessage {
    enum Kind : uint8_t {
        kIgnored = 0, // not a message that an instrument obeys, or malformed
        kNoteOff = 0x80,
        kNoteOn = 0x90,
        kKeyPressure = 0xA0,
        kController = 0xB0,
        kProgramChange = 0xC0,
        kChannelPressure = 0xD0,
        kPitchBend = 0xE0,
        kSystemReset = 0xFF,
    };
    Kind kind = kIgnored;
    uint8_t channel = 0; // 0 to 15
    uint8_t data1 = 0;   // 0 to 127
    uint8_t data2 = 0;   // 0 to 127; 0 for a message of one data byte

    bool isNote() const VELNOR_NONBLOCKING { return kind == kNoteOff || kind == kNoteOn; }
};

// compatSlots: the status byte carries no channel; everything is for channel 0, and a system
// message cannot be told apart. Thread any, concurrent, nonblocking.
MidiMessage parseMidi(const MIDIEvent& event, bool compatSlots) VELNOR_NONBLOCKING;

} // namespace velnor::soundfont

#endif
