// One FluidSynth synthesizer with one SoundFont.
//
// FluidSynth's API lock is off: whoever owns a Synth sees to it that one thread at a time uses it.
// It computes 64 frames at a time. However its output is fetched, those blocks lie on multiples of
// 64 frames since the (re)start, and a message counts from the first of them that is not computed
// yet: at its own frame when that is a multiple of 64, else up to 63 frames later. So the output
// depends on when a message comes, and not on how the frames before and after it are fetched.
//
// Its own calls allocate and lock nothing, with these settings; Debian's build enters an OpenMP
// region of one thread for each fetch, for which the OpenMP runtime allocates a little.
#ifndef VELNOR_ENGINES_SOUNDFONT_SYNTH_H
#define VELNOR_ENGINES_SOUNDFONT_SYNTH_H

#include "engines/soundfont/MidiMessage.h"
#include "platform/Facts.h"

#include <cstdint>
#include <fluidsynth.h>
#include <map>
#include <memory>
#include <string>
#include <utility>

// Runs statements that call FluidSynth on the render road.
#define VELNOR_FLUID(...)                                                                          \
    VELNOR_RT_ESCAPE("FluidSynth makes no promise the compiler could check; see Synth.h",          \
                     __VA_ARGS__)

namespace velnor::soundfont {

inline constexpr int kDefaultRate = 44100;

class Synth {
public:
    // Loads the SoundFont; `pairs` (1 to 16) stereo pairs come out, each with a reverb and a chorus
    // of its own. MIDI channel c sounds on pair c modulo pairs. Throws std::runtime_error with
    // FluidSynth's reason. Thread any, may block.
    Synth(const std::string& fontPath, int pairs);
    ~Synth();
    Synth(const Synth&) = delete;
    Synth& operator=(const Synth&) = delete;

    // As new, at `rate` Hz; only the loaded SoundFont stays. Nothing less is clean: FluidSynth's
    // reset leaves voices sounding and lets a reused voice differ from an unused one. Throws
    // std::runtime_error, and then all is as before. Thread any, exclusive, may block.
    void restart(int rate);

    // Until this, samples are read from the file when a program is first chosen, by whoever chooses
    // it. From then on no call reads a file. Again, it does nothing. Thread any, exclusive, may
    // block.
    void loadAllSamples();

    // Silences every voice and puts channels and effects back to the defaults, roughly: see
    // restart. Thread any, exclusive, nonblocking.
    void reset() VELNOR_NONBLOCKING;

    // Of the notes that begin from now on: 7th order, or FluidSynth's default, the 4th. Thread any,
    // exclusive, nonblocking.
    void setInterpolation(bool highest) VELNOR_NONBLOCKING;

    // False when FluidSynth refused the message. Thread any, exclusive, nonblocking.
    bool send(const MidiMessage& message) VELNOR_NONBLOCKING;

    // Writes `frames` samples to each of the 2 x pairs channels, from sample `from` on. Thread any,
    // exclusive, nonblocking.
    void render(float* const* channels, uint32_t from, uint32_t frames) VELNOR_NONBLOCKING;

    int activeVoices() const VELNOR_NONBLOCKING;
    int pairs() const VELNOR_NONBLOCKING { return mPairs; }
    int fontId() const VELNOR_NONBLOCKING { return mFontId; }
    fluid_synth_t* get() const VELNOR_NONBLOCKING { return mSynth.get(); }

    // Names of the SoundFont's presets by bank and program; fixed from construction on.
    using PresetNames = std::map<std::pair<int, int>, std::string>;
    const PresetNames& presetNames() const { return mPresetNames; }

private:
    struct DeleteSettings {
        void operator()(fluid_settings_t* settings) const { delete_fluid_settings(settings); }
    };
    struct DeleteSynth {
        void operator()(fluid_synth_t* synth) const { delete_fluid_synth(synth); }
    };
    using SynthPointer = std::unique_ptr<fluid_synth_t, DeleteSynth>;

    SynthPointer makeSynth() const;
    void readPresetNames();

    int mPairs;
    int mFontId = -1;
    std::unique_ptr<fluid_settings_t, DeleteSettings> mSettings;
    SynthPointer mSynth; // owns the SoundFont
    PresetNames mPresetNames;
};

} // namespace velnor::soundfont

#endif
