#include "engines/soundfont/Synth.h"

#include "bridge/OrmoEngine.h"
#include "engines/soundfont/EngineLog.h"
#include "engines/soundfont/EngineState.h"

#include <algorithm>
#include <stdexcept>

namespace velnor::soundfont {

namespace {

constexpr int kEveryChannel = -1;

// The synthesizer that loads every SoundFont and plays none, there until the process ends. A font
// that reads samples on demand does so through the loader that it came from, and goes on to other
// synthesizers: so that loader must outlive it. Besides, FluidSynth's SoundFont library loses some
// two kilobytes each time when the last synthesizer of a process goes and another one comes.
fluid_synth_t* loader() {
    static fluid_synth_t* const synth = [] {
        fluid_settings_t* settings = new_fluid_settings();
        fluid_settings_setint(settings, "synth.polyphony", 1);
        // A program's samples are read when a channel takes it: see loadAllSamples.
        fluid_settings_setint(settings, "synth.dynamic-sample-loading", 1);
        return new_fluid_synth(settings);
    }();
    return synth;
}

void renderStereo(fluid_synth_t* synth, float* const* channels, uint32_t from,
                  uint32_t frames) VELNOR_NONBLOCKING {
    VELNOR_FLUID(fluid_synth_write_float(synth, static_cast<int>(frames), channels[0],
                                         static_cast<int>(from), 1, channels[1],
                                         static_cast<int>(from), 1));
}

// FluidSynth adds to the buffers that it is given. Reverb and chorus of a pair are added to the
// pair itself, so that each pair is whole, and the sum of the pairs is the stereo mix.
void renderPairs(fluid_synth_t* synth, int pairs, float* const* channels, uint32_t from,
                 uint32_t frames) VELNOR_NONBLOCKING {
    float* dry[kOrmoMaxChannels];
    float* effects[2 * kOrmoMaxChannels];
    const auto count = static_cast<size_t>(pairs);
    for (size_t pair = 0; pair < count; ++pair) {
        for (size_t side = 0; side < 2; ++side) {
            float* samples = channels[2 * pair + side] + from;
            std::fill_n(samples, frames, 0.0F);
            dry[2 * pair + side] = samples;
            effects[4 * pair + side] = samples;     // reverb
            effects[4 * pair + 2 + side] = samples; // chorus
        }
    }
    VELNOR_FLUID(
        fluid_synth_process(synth, static_cast<int>(frames), 4 * pairs, effects, 2 * pairs, dry));
}

// Of no synthesizer yet. While errors are kept, no other thread is here.
fluid_sfont_t* loadFont(const std::string& path, const FluidErrors& errors) {
    fluid_synth_t* synth = loader();
    const int id = synth == nullptr ? FLUID_FAILED : fluid_synth_sfload(synth, path.c_str(), 0);
    if (id == FLUID_FAILED) {
        throw std::runtime_error("SoundFont \"" + path +
                                 "\" does not load: " + errors.firstOr("no reason given"));
    }
    fluid_sfont_t* font = fluid_synth_get_sfont_by_id(synth, id);
    fluid_synth_remove_sfont(synth, font);
    return font;
}

} // namespace

Synth::Synth(const std::string& fontPath, int pairs)
    : mPairs(pairs), mSettings(new_fluid_settings()) {
    FluidErrors errors;
    if (!mSettings) {
        throw std::runtime_error(errors.firstOr("out of memory"));
    }
    fluid_settings_setnum(mSettings.get(), "synth.sample-rate", kDefaultRate);
    fluid_settings_setint(mSettings.get(), "synth.audio-channels", pairs);
    fluid_settings_setint(mSettings.get(), "synth.audio-groups", pairs);
    fluid_settings_setint(mSettings.get(), "synth.effects-groups", pairs);
    fluid_settings_setint(mSettings.get(), "synth.midi-channels", kMidiChannels);
    fluid_settings_setint(mSettings.get(), "synth.polyphony", kMaxPolyphony);
    fluid_settings_setint(mSettings.get(), "synth.cpu-cores", 1);
    fluid_settings_setint(mSettings.get(), "synth.threadsafe-api", 0);
    mSynth = makeSynth();
    mFontId = fluid_synth_add_sfont(mSynth.get(), loadFont(fontPath, errors));
    if (mFontId == FLUID_FAILED) {
        throw std::runtime_error("FluidSynth cannot start: " + errors.firstOr("out of memory"));
    }
    readPresetNames();
}

Synth::~Synth() = default;

Synth::SynthPointer Synth::makeSynth() const {
    SynthPointer synth(new_fluid_synth(mSettings.get()));
    if (!synth) {
        throw std::runtime_error("FluidSynth cannot start: out of memory");
    }
    return synth;
}

void Synth::readPresetNames() {
    fluid_sfont_t* font = fluid_synth_get_sfont_by_id(mSynth.get(), mFontId);
    fluid_sfont_iteration_start(font);
    while (fluid_preset_t* preset = fluid_sfont_iteration_next(font)) {
        const std::pair<int, int> key(fluid_preset_get_banknum(preset),
                                      fluid_preset_get_num(preset));
        mPresetNames.emplace(key, fluid_preset_get_name(preset));
    }
}

// FluidSynth passes over what it cannot load, as it does with a sample that is damaged.
void Synth::loadAllSamples() {
    for (const auto& [key, name] : mPresetNames) {
        fluid_synth_pin_preset(mSynth.get(), mFontId, key.first, key.second);
    }
}

void Synth::restart(int rate) {
    FluidErrors errors;
    fluid_settings_setnum(mSettings.get(), "synth.sample-rate", rate);
    SynthPointer fresh = makeSynth();
    fluid_sfont_t* font = fluid_synth_get_sfont_by_id(mSynth.get(), mFontId);
    // A sounding voice would hold on to the SoundFont.
    fluid_synth_all_sounds_off(mSynth.get(), kEveryChannel);
    fluid_synth_remove_sfont(mSynth.get(), font);
    const int id = fluid_synth_add_sfont(fresh.get(), font);
    if (id == FLUID_FAILED) {
        fluid_synth_add_sfont(mSynth.get(), font);
        throw std::runtime_error("FluidSynth cannot restart: " + errors.firstOr("out of memory"));
    }
    mFontId = id;
    mSynth = std::move(fresh);
}

// The other way round, the reset would let the voices sound on.
void Synth::reset() VELNOR_NONBLOCKING {
    VELNOR_FLUID(fluid_synth_system_reset(mSynth.get());
                 fluid_synth_all_sounds_off(mSynth.get(), kEveryChannel));
}

void Synth::setInterpolation(bool highest) VELNOR_NONBLOCKING {
    VELNOR_FLUID(fluid_synth_set_interp_method(
        mSynth.get(), kEveryChannel, highest ? FLUID_INTERP_HIGHEST : FLUID_INTERP_DEFAULT));
}

bool Synth::send(const MidiMessage& message) VELNOR_NONBLOCKING {
    fluid_synth_t* synth = mSynth.get();
    const int channel = message.channel;
    int result = FLUID_FAILED;
    switch (message.kind) {
    case MidiMessage::kNoteOff:
        VELNOR_FLUID(result = fluid_synth_noteoff(synth, channel, message.data1));
        break;
    case MidiMessage::kNoteOn:
        VELNOR_FLUID(result = fluid_synth_noteon(synth, channel, message.data1, message.data2));
        break;
    case MidiMessage::kKeyPressure:
        VELNOR_FLUID(result =
                         fluid_synth_key_pressure(synth, channel, message.data1, message.data2));
        break;
    case MidiMessage::kController:
        VELNOR_FLUID(result = fluid_synth_cc(synth, channel, message.data1, message.data2));
        break;
    case MidiMessage::kProgramChange:
        VELNOR_FLUID(result = fluid_synth_program_change(synth, channel, message.data1));
        break;
    case MidiMessage::kChannelPressure:
        VELNOR_FLUID(result = fluid_synth_channel_pressure(synth, channel, message.data1));
        break;
    case MidiMessage::kPitchBend:
        VELNOR_FLUID(
            result = fluid_synth_pitch_bend(synth, channel, message.data1 | message.data2 << 7));
        break;
    case MidiMessage::kSystemReset:
        reset();
        result = FLUID_OK;
        break;
    case MidiMessage::kIgnored:
        break;
    }
    return result == FLUID_OK;
}

void Synth::render(float* const* channels, uint32_t from, uint32_t frames) VELNOR_NONBLOCKING {
    if (frames == 0) {
        return;
    }
    if (mPairs == 1) {
        renderStereo(mSynth.get(), channels, from, frames);
    } else {
        renderPairs(mSynth.get(), mPairs, channels, from, frames);
    }
}

int Synth::activeVoices() const VELNOR_NONBLOCKING {
    int voices = 0;
    VELNOR_FLUID(voices = fluid_synth_get_active_voice_count(mSynth.get()));
    return voices;
}

} // namespace velnor::soundfont
