// The host's side of the transport callbacks: answers from a song's tempo map and a frame clock.
#ifndef VELNOR_HOST_RENDER_SONGTRANSPORT_H
#define VELNOR_HOST_RENDER_SONGTRANSPORT_H

#include "host/song/TempoMap.h"
#include "platform/AudioUnitTypes.h"

#include <cstdint>

namespace velnor::host {

// Lives at one address for as long as the instrument may call: the callbacks get it as their
// context. Thread render, exclusive.
class SongTransport {
public:
    // map is borrowed and must outlive the transport. rate in frames per second.
    SongTransport(const TempoMap& map, double rate);
    SongTransport(const SongTransport&) = delete;
    SongTransport& operator=(const SongTransport&) = delete;

    // The three callbacks and this object as their context.
    HostCallbackInfo callbacks();

    // The first frame of the block that is rendered next.
    void moveTo(std::int64_t frame) { mFrame = frame; }
    // A change is reported once, with the next answer. The transport begins stopped.
    void setPlaying(bool playing);

private:
    static OSStatus beatAndTempo(void* self, Float64* beat, Float64* tempo);
    static OSStatus musicalTime(void* self, UInt32* samplesToBeat, Float32* numerator,
                                UInt32* denominator, Float64* downBeat);
    static OSStatus transportState(void* self, Boolean* playing, Boolean* changed,
                                   Float64* samplePosition, Boolean* cycling, Float64* cycleStart,
                                   Float64* cycleEnd);
    MusicalPosition position() const;

    const TempoMap& mMap;
    double mRate;
    std::int64_t mFrame = 0;
    bool mPlaying = false;
    bool mChanged = false;
};

} // namespace velnor::host

#endif
