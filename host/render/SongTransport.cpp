#include "host/render/SongTransport.h"

#include <cmath>

namespace velnor::host {

SongTransport::SongTransport(const TempoMap& map, double rate) : mMap(map), mRate(rate) {}

HostCallbackInfo SongTransport::callbacks() {
    return {this, beatAndTempo, musicalTime, transportState};
}

void SongTransport::setPlaying(bool playing) {
    mChanged = mChanged || playing != mPlaying;
    mPlaying = playing;
}

MusicalPosition SongTransport::position() const {
    return mMap.positionAtSeconds(static_cast<double>(mFrame) / mRate);
}

OSStatus SongTransport::beatAndTempo(void* self, Float64* beat, Float64* tempo) {
    const MusicalPosition at = static_cast<SongTransport*>(self)->position();
    if (beat) {
        *beat = at.beats;
    }
    if (tempo) {
        *tempo = at.beatsPerMinute;
    }
    return noErr;
}

OSStatus SongTransport::musicalTime(void* self, UInt32* samplesToBeat, Float32* numerator,
                                    UInt32* denominator, Float64* downBeat) {
    const auto& transport = *static_cast<SongTransport*>(self);
    const MusicalPosition at = transport.position();
    const double beatsLeft = std::ceil(at.beats) - at.beats;
    if (samplesToBeat) {
        *samplesToBeat =
            static_cast<UInt32>(beatsLeft * 60.0 / at.beatsPerMinute * transport.mRate);
    }
    if (numerator) {
        *numerator = static_cast<Float32>(at.numerator);
    }
    if (denominator) {
        *denominator = static_cast<UInt32>(at.denominator);
    }
    if (downBeat) {
        *downBeat = at.barStart;
    }
    return noErr;
}

OSStatus SongTransport::transportState(void* self, Boolean* playing, Boolean* changed,
                                       Float64* samplePosition, Boolean* cycling,
                                       Float64* cycleStart, Float64* cycleEnd) {
    auto& transport = *static_cast<SongTransport*>(self);
    if (playing) {
        *playing = transport.mPlaying;
    }
    if (changed) {
        *changed = transport.mChanged;
    }
    transport.mChanged = false;
    if (samplePosition) {
        *samplePosition = static_cast<Float64>(transport.mFrame);
    }
    if (cycling) {
        *cycling = false;
    }
    if (cycleStart) {
        *cycleStart = 0.0;
    }
    if (cycleEnd) {
        *cycleEnd = 0.0;
    }
    return noErr;
}

} // namespace velnor::host
