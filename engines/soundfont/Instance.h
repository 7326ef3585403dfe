// One engine instance: what is behind an engine handle.
//
// The plug-in does not keep kOpProcess apart from the other calls, so this does. Chunks and
// properties travel through a StateExchange and never touch the synthesizer from outside. Suspend,
// resume and a change of rate do; they wait until a render call is over, and a render call that
// comes while one of them is at work is silent.
#ifndef VELNOR_ENGINES_SOUNDFONT_INSTANCE_H
#define VELNOR_ENGINES_SOUNDFONT_INSTANCE_H

#include "bridge/OrmoEngine.h"
#include "engines/soundfont/Gate.h"
#include "engines/soundfont/Player.h"
#include "engines/soundfont/Results.h"
#include "engines/soundfont/StateExchange.h"
#include "platform/Facts.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace velnor::soundfont {

// What an editor shows.
struct InstanceStatus {
    int activeVoices = 0;
    std::array<std::string, kMidiChannels> programs; // empty: none
};

class Instance {
public:
    // Throws std::runtime_error with the reason. Thread any, may block.
    static std::unique_ptr<Instance> open(const EngineOpenBlock& block);

    Instance(std::unique_ptr<Synth> synth, bool compatSlots);

    // Thread any, concurrent, may block: all but process. They throw what the standard library and
    // Synth::restart throw.
    // Any block size is served, so the rate is all that it keeps.
    Result setRate(int32_t rate);
    Result suspend();
    Result resume(bool offline);
    // The bytes stay until the next call of this, which nothing else may make meanwhile.
    const std::vector<uint8_t>& chunk();
    // Takes effect at the start of the next render call, and ends what sounds then.
    Result setChunk(const uint8_t* bytes, size_t size);
    Result property(uint32_t id, void* value);
    InstanceStatus status();

    // Thread render, concurrent with the others but not with itself, nonblocking.
    Result process(const MIDIEventBlock& block, float* const* channels,
                   uint32_t frames) VELNOR_NONBLOCKING;

private:
    Result quality(uint32_t id, void* value);

    Gate mGate; // for mPlayer
    StateExchange mExchange;
    Player mPlayer;
    std::atomic<int32_t> mActiveVoices{0};
    std::atomic<int32_t> mQuality{0}; // kVendorPropertyQuality
    std::vector<uint8_t> mChunk;
};

} // namespace velnor::soundfont

#endif
