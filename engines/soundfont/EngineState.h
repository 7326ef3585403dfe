// Everything about an engine instance that can be heard and that outlives a note: what the chunk
// holds and what a restarted synthesizer is given back. Plain values; copied whole.
#ifndef VELNOR_ENGINES_SOUNDFONT_ENGINESTATE_H
#define VELNOR_ENGINES_SOUNDFONT_ENGINESTATE_H

#include <array>
#include <cstdint>
#include <type_traits>

namespace velnor::soundfont {

inline constexpr int kMidiChannels = 16;
inline constexpr int kKeys = 128;
inline constexpr int kPlainControllers = 120; // those above are channel mode messages
inline constexpr int kGenerators = 63;
inline constexpr int kMaxPolyphony = 256; // FluidSynth allocates these at the start

inline constexpr int16_t kNoProgram = -1;
inline constexpr uint8_t kNoPortamentoKey = 255; // controller 84's value while it is unset
inline constexpr uint8_t kNoNrpn = 63;           // the NRPN messages so far name no generator
inline constexpr uint8_t kModeNone = 255;        // the channel does not head a group of channels

struct ChannelState {
    int16_t bank = 0; // of the sounding preset
    int16_t program = 0;
    std::array<uint8_t, kPlainControllers> controllers{};
    uint16_t bend = 0x2000;
    uint8_t bendRange = 2; // semitones
    uint8_t pressure = 0;
    std::array<uint8_t, kKeys> keyPressures{};
    bool nrpnActive = false;  // the last parameter number was an NRPN
    uint8_t nrpnSelect = 0;   // the generator that the next data entry would set
    uint8_t mode = kModeNone; // MIDI mode less 1, for the head of a group
    uint8_t modeCount = 0;    // channels in its group
    std::array<float, kGenerators>
        generators{}; // offsets by NRPN; fine and coarse tuning among them
};

struct ReverbState {
    int32_t on = 1;
    float roomSize = 0.2F;
    float damping = 0.0F;
    float width = 0.5F;
    float level = 0.9F;
};

struct ChorusState {
    int32_t on = 1;
    int32_t voices = 3;
    float level = 2.0F;
    float speed = 0.3F; // Hz
    float depth = 8.0F; // ms
    int32_t wave = 0;   // 0 sine, 1 triangle
};

// What vendor properties set; every field is four bytes.
struct Globals {
    float gain = 0.2F;
    int32_t polyphony = kMaxPolyphony;
    ReverbState reverb;
    ChorusState chorus;
};
static_assert(std::is_standard_layout_v<Globals> && sizeof(Globals) == 13 * sizeof(float));

struct EngineState {
    Globals globals;
    std::array<ChannelState, kMidiChannels> channels;
};
static_assert(std::is_trivially_copyable_v<EngineState>);

} // namespace velnor::soundfont

#endif
