// Plays a song through an instrument, block by block, and hands out what it sounds like.
#ifndef VELNOR_HOST_RENDER_SONGRENDERER_H
#define VELNOR_HOST_RENDER_SONGRENDERER_H

#include "host/instrument/Instrument.h"
#include "host/render/SongTransport.h"
#include "host/song/MidiSong.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace velnor::host {

struct RenderPlan {
    double rate = 44100.0;        // frames per second
    UInt32 block = 512;           // frames of a pull; the last one may be shorter
    double tailSeconds = 0.0;     // after the song's last event
    bool tailUntilSilence = true; // then tailSeconds is the longest tail
    double fromSeconds = 0.0;     // messages before it are not sent
    double toSeconds = -1.0;      // below 0: the song's end and the tail
};

// Frames from the song's start at which a message takes effect: the nearest sample.
std::int64_t frameOfTick(const TempoMap& map, std::int64_t tick, double rate);

class SongRenderer {
public:
    // Gets the instrument after a pull and the frames that it gave; false stops the render.
    using Sink = std::function<bool(const Instrument& instrument, UInt32 frames)>;

    // Both are borrowed. Registers the transport callbacks and initialises the instrument with the
    // plan's rate and block size.
    SongRenderer(Instrument& instrument, const MidiSong& song, const RenderPlan& plan);

    // Returns the number of messages sent.
    std::uint64_t run(const Sink& sink);

    std::int64_t frame() const { return mFrame; }
    // Frames that run() gives at most; with a tail until silence it may give fewer.
    std::int64_t expectedFrames() const { return mEndFrame + mTailFrames - mStartFrame; }

private:
    UInt32 nextBlock(std::int64_t last) const;
    void sendMessagesBefore(std::int64_t end);
    bool isSilent(UInt32 frames) const;

    Instrument& mInstrument;
    const MidiSong& mSong;
    RenderPlan mPlan;
    SongTransport mTransport;
    std::int64_t mFrame = 0;
    std::int64_t mStartFrame = 0;
    std::int64_t mEndFrame = 0;
    std::int64_t mTailFrames = 0;
    std::vector<std::int64_t> mMessageFrames;
    std::size_t mNext = 0;
    std::uint64_t mSent = 0;
};

} // namespace velnor::host

#endif
