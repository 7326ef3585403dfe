// Plays blocks of MIDI events on a synthesizer and keeps account of the state that results. Used by
// one thread at a time; Instance sees to that.
#ifndef VELNOR_ENGINES_SOUNDFONT_PLAYER_H
#define VELNOR_ENGINES_SOUNDFONT_PLAYER_H

#include "bridge/OrmoEngine.h"
#include "engines/soundfont/EngineState.h"
#include "engines/soundfont/MidiMessage.h"
#include "engines/soundfont/StateExchange.h"
#include "engines/soundfont/Synth.h"
#include "platform/Facts.h"

#include <cstdint>
#include <memory>

namespace velnor::soundfont {

class Player {
public:
    // Publishes the synthesizer's state at once. Thread any, may block.
    Player(std::unique_ptr<Synth> synth, bool compatSlots, StateExchange& exchange);

    // Silence from now on; the state stays. Thread any, exclusive, may block.
    void stop();
    // All traces of sound gone. offline: a program's samples are read when it is first chosen, in
    // the middle of a block; else all are read now. Throws as Synth::restart, and then there is
    // silence. Thread any, exclusive, may block.
    void start(bool offline);
    // False, and silence until a good rate comes, for one that FluidSynth does not take. Throws as
    // Synth::restart. Thread any, exclusive, may block.
    bool setRate(int32_t rate);

    // Of the notes that begin from now on, whatever restarts. Thread any, exclusive, nonblocking.
    void setQuality(bool best) VELNOR_NONBLOCKING;

    // Writes every sample of every channel. An event before the block or before its predecessor
    // counts at once, one behind the block at its end. Thread any, exclusive, nonblocking.
    void process(const MIDIEventBlock& block, float* const* channels,
                 uint32_t frames) VELNOR_NONBLOCKING;

    // Thread any, concurrent: fixed from construction on.
    const Synth& synth() const VELNOR_NONBLOCKING { return *mSynth; }

private:
    void restart();
    void takeEdit() VELNOR_NONBLOCKING;
    void publish() VELNOR_NONBLOCKING;
    void play(const MIDIEventBlock& block, float* const* channels,
              uint32_t frames) VELNOR_NONBLOCKING;
    void obey(const MidiMessage& message) VELNOR_NONBLOCKING;
    void obeySystemReset() VELNOR_NONBLOCKING;
    void noteChange(const MidiMessage& message) VELNOR_NONBLOCKING;
    void captureChanges() VELNOR_NONBLOCKING;

    std::unique_ptr<Synth> mSynth;
    StateExchange& mExchange;
    EngineState mState;
    Globals mApplied; // what the synthesizer has of mState.globals
    uint64_t mTakenEdit = 0;
    uint32_t mChangedChannels = 0; // one bit each: captured at the end of the block
    int32_t mRate = kDefaultRate;
    bool mIsRateGood = true;
    bool mIsRunning = false;
    bool mIsBest = false;
    bool mIsFresh = true; // nothing was rendered or changed since the restart
    bool mCompatSlots;
};

} // namespace velnor::soundfont

#endif
