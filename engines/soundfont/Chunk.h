// The engine's state as bytes: what kOpGetChunk hands out and kOpSetChunk takes back.
//
// All numbers are little-endian; f32 is the bit pattern of an IEEE single. 8,246 bytes:
//
//   offset  size
//        0     4  magic      "VSFC"
//        4     4  version    u32, 1
//        8     4  size       u32, of the whole chunk
//       12     4  checksum   u32, CRC-32 (polynomial 0xEDB88320) of all that follows
//       16     4  gain       f32
//       20     2  polyphony  u16
//       22     1  reverb on  u8, 0 or 1
//       23    16  reverb     f32: room size, damping, width, level
//       39     1  chorus on  u8, 0 or 1
//       40     1  chorus     u8: voices
//       41    12             f32: level, speed in Hz, depth in ms
//       53     1             u8: wave, 0 sine, 1 triangle
//       54        16 channels of 512 bytes:
//          0   2  bank            i16, of the sounding preset
//          2   2  program         i16, -1 for none
//          4 120  controllers     u8 each, 0 to 119; number 84 may be 255, unset
//        124   2  bend            u16, 0 to 16,383
//        126   1  bend range      u8, semitones
//        127   1  pressure        u8
//        128 128  key pressures   u8 each
//        256   1  nrpn active     u8, 1: the parameter number was last chosen by an NRPN
//        257   1  nrpn select     u8, generator that the next data entry sets; 63 for none
//        258   1  mode            u8, MIDI mode less 1 where a group of channels starts, else 255
//        259   1  mode count      u8, channels in that group, else 0
//        260 252  generators      f32 each, 0 to 62: offsets to the SoundFont's generators
#ifndef VELNOR_ENGINES_SOUNDFONT_CHUNK_H
#define VELNOR_ENGINES_SOUNDFONT_CHUNK_H

#include "engines/soundfont/EngineState.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velnor::soundfont {

inline constexpr size_t kChunkHeaderSize = 16;
inline constexpr size_t kChunkGlobalsSize = 38;
inline constexpr size_t kChunkChannelSize = 260 + 4 * kGenerators;
inline constexpr size_t kChunkSize =
    kChunkHeaderSize + kChunkGlobalsSize + kMidiChannels * kChunkChannelSize;

// The same bytes for the same state. Thread any, concurrent, may block.
std::vector<uint8_t> encodeChunk(const EngineState& state);

// False, and `state` untouched, unless every byte of the chunk is as encodeChunk could have written
// it. Thread any, concurrent, may block.
bool decodeChunk(const uint8_t* bytes, size_t size, EngineState& state);

// CRC-32 of the bytes, as zip and PNG use it.
uint32_t chunkChecksum(const uint8_t* bytes, size_t size);

} // namespace velnor::soundfont

#endif
