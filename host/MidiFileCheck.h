/* Whether bytes are a whole and well-formed Standard MIDI File, before a reader trusts them.
 *
 * Format: "The Complete MIDI 1.0 Detailed Specification", Standard MIDI Files 1.0 (RP-001). */
#ifndef VELNOR_HOST_MIDIFILECHECK_H
#define VELNOR_HOST_MIDIFILECHECK_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace velnor::host {

/* Longest file that is read, in bytes. */
constexpr std::size_t kMidiFileSizeLimit = 64u << 20;

/* Empty when every chunk and event is whole, every message has its data bytes and no track is
 * longer than 2^31 - 1 ticks; else what is wrong and where, as a clause ("track 2 is cut short at
 * byte 1234"). Unknown chunks are allowed, as the format asks. Thread any, concurrent. */
std::string checkMidiFile(std::span<const std::uint8_t> bytes);

} // namespace velnor::host

#endif
