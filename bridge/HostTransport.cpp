#include "bridge/HostTransport.h"

#include <emmintrin.h>
#include <limits>

namespace velnor {

namespace {

// To the nearest whole number, halves to even ones, cut to the range, 0 for what is no number. The
// processor rounds so by itself, and gives the least number for what it cannot; the C library's
// function would be a call.
SInt32 roundedToInt32(Float32 value) VELNOR_NONBLOCKING {
    const SInt32 rounded = _mm_cvtss_si32(_mm_set_ss(value));
    return rounded != std::numeric_limits<SInt32>::min() ? rounded : truncateToInt32(double{value});
}

// One of the host's callbacks; a missing one counts as failed.
template <typename Proc, typename... Args>
bool ask(Proc proc, void* context, Args... args) VELNOR_NONBLOCKING {
    OSStatus status = noErr;
    if (proc == nullptr) {
        return false;
    }
    VELNOR_RT_ESCAPE("the host's callback, made by the host for its render thread",
                     status = proc(context, args...));
    return status == noErr;
}

void readBeatAndTempo(const HostCallbackInfo& host, SyncInfo& sync) VELNOR_NONBLOCKING {
    Float64 beat = 0.0;
    Float64 tempo = 120.0;
    if (!ask(host.beatAndTempoProc, host.hostUserData, &beat, &tempo)) {
        return;
    }
    sync.bpm = tempo;
    sync.ppq = beat;
}

void readMusicalTime(const HostCallbackInfo& host, SyncInfo& sync) VELNOR_NONBLOCKING {
    UInt32 untilNextBeat = 0;
    Float32 numerator = 4.0F;
    UInt32 denominator = 4;
    Float64 downBeat = 0.0;
    if (!ask(host.musicalTimeLocationProc, host.hostUserData, &untilNextBeat, &numerator,
             &denominator, &downBeat)) {
        sync.barStart = truncateToInt32(0.25 * sync.ppq) * 4.0;
        return;
    }
    sync.barStart = downBeat;
    sync.timeSigNumerator = roundedToInt32(numerator);
    sync.timeSigDenominator = static_cast<SInt32>(denominator);
}

void readTransportState(const HostCallbackInfo& host, SyncInfo& sync) VELNOR_NONBLOCKING {
    Boolean playing = 1;
    Boolean changed = 0;
    Float64 samplePos = 0.0;
    Boolean cycling = 0;
    Float64 cycleStart = 0.0;
    Float64 cycleEnd = 0.0;
    if (!ask(host.transportStateProc, host.hostUserData, &playing, &changed, &samplePos, &cycling,
             &cycleStart, &cycleEnd)) {
        return;
    }
    sync.samplePos = samplePos;
    sync.playing = playing != 0;
    sync.looping = cycling != 0;
    sync.transportChanged = changed != 0;
    sync.loopStart = cycleStart;
    sync.loopEnd = cycleEnd;
}

} // namespace

void readHostTransport(const HostCallbackInfo& host, SyncInfo& sync) VELNOR_NONBLOCKING {
    readBeatAndTempo(host, sync);
    readMusicalTime(host, sync);
    readTransportState(host, sync);
}

} // namespace velnor
