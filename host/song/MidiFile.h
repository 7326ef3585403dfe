// The events of a Standard MIDI File, which is not trusted.
//
// Format: "The Complete MIDI 1.0 Detailed Specification", Standard MIDI Files 1.0 (RP-001).
#ifndef VELNOR_HOST_SONG_MIDIFILE_H
#define VELNOR_HOST_SONG_MIDIFILE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace velnor::host {

// Longest file that is read, in bytes.
constexpr std::size_t kMidiFileSizeLimit = 64u << 20;

struct MidiFileEvent {
    std::uint32_t tick;   // from the track's start, below 2^31
    std::uint8_t status;  // 0x80 to 0xF0, 0xF7 or 0xFF; a running status is repeated
    std::uint8_t type;    // of a meta event, else 0
    std::uint32_t offset; // of the event's data in the file: what follows status, type and length
    std::uint32_t size;   // of the data in bytes: of a message the one or two that it must have
};
using MidiFileVisitor = std::function<void(const MidiFileEvent&)>;

// Hands over the events, one track after the other, until one is not in order. Empty when every
// chunk and event is whole, every message has its data bytes and no track is longer than 2^31 - 1
// ticks; else what is wrong and where, as a clause ("track 2 is cut short at byte 1234"). Chunks
// that are no tracks are passed over, as the format asks, and a track need not say that it ends.
// Thread any, concurrent.
std::string visitMidiFile(std::span<const std::uint8_t> bytes, const MidiFileVisitor& visit);

} // namespace velnor::host

#endif
