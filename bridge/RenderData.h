// What an instrument's render works on, and all that its threads share of it but the engine's
// handle and entry point.
#ifndef VELNOR_BRIDGE_RENDERDATA_H
#define VELNOR_BRIDGE_RENDERDATA_H

#include "bridge/EventSorter.h"
#include "bridge/MidiRing.h"
#include "bridge/OrmoEngine.h"
#include "bridge/SyncInfo.h"
#include "platform/AudioTypes.h"
#include "support/Allocator.h"

#include <array>
#include <memory>
#include <vector>

namespace velnor {

// Who does what, without a lock; main writes only while nothing renders, but for the ring.
//
//                                        main          render   MIDI
//     mSampleRate, mUseExtraBuffer       writes        reads
//     mExtraBuffer                       allocates     passes on
//     mSyncInfo                          resets        owns
//     mChannelBuffers, mPendingEvents,                 owns
//     mSorter, mEventBlock
//     mMidiRing                          resets        takes    puts
struct RenderData {
    RenderData();

    // Moves what the ring holds into the event block, in the order in which it takes effect. Thread
    // render, nonblocking.
    void collectEvents() VELNOR_NONBLOCKING {
        if (mMidiRing.isEmpty()) {
            mEventBlock.count = 0;
        } else {
            collectQueuedEvents();
        }
    }

    // Zero-filled, for so many frames; throws std::bad_alloc. Thread main, while nothing renders.
    void allocateExtraBuffer(unsigned long frames);

    struct FreeBuffer {
        void operator()(float* buffer) const { THEFREE(buffer, nullptr); }
    };

    Float64 mSampleRate = 0;
    bool mUseExtraBuffer = false;
    std::unique_ptr<float, FreeBuffer> mExtraBuffer; // the channels' that the host has none for
    SyncInfo mSyncInfo;
    std::array<float*, kOrmoMaxChannels> mChannelBuffers{};
    std::vector<::MIDIEvent> mPendingEvents; // taken from the ring, not yet in the block
    MIDIEventBlock mEventBlock = {};
    EventSorter mSorter;
    MidiRing mMidiRing;

private:
    void collectQueuedEvents() VELNOR_NONBLOCKING;
};

} // namespace velnor

#endif
