// A Standard MIDI File as what a host plays: messages in order, a tempo map, a length.
#ifndef VELNOR_HOST_SONG_MIDISONG_H
#define VELNOR_HOST_SONG_MIDISONG_H

#include "host/song/TempoMap.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velnor::host {

struct SongMessage {
    std::int64_t tick;
    std::uint8_t status; // 0x80 to 0xEF
    std::uint8_t data1;
    std::uint8_t data2; // 0 where the message has none
};

struct MidiSong {
    std::vector<SongMessage> messages; // ascending tick; ties in track order, then file order
    TempoMap tempoMap;
    std::int64_t lengthTicks; // the last event of any kind

    double lengthSeconds() const { return tempoMap.secondsAtTick(lengthTicks); }
};

// Throws JobError, naming the file and what is wrong with it. System-exclusive messages are left
// out: the instrument takes none.
MidiSong readMidiSong(const std::string& path);
// The same from memory; name stands in messages.
MidiSong parseMidiSong(std::span<const std::uint8_t> bytes, const std::string& name);

} // namespace velnor::host

#endif
