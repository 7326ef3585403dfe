#include "host/render/BusMix.h"

#include <algorithm>
#include <cmath>

namespace velnor::host {

std::span<const float* const> BusMix::mix(const Instrument& instrument, UInt32 frames) {
    if (instrument.pulledBuses() == 1) {
        return instrument.bus(0);
    }
    std::size_t channels = 0;
    for (UInt32 number = 0; number < instrument.pulledBuses(); ++number) {
        channels = std::max(channels, instrument.bus(number).size());
    }
    prepare(channels, frames);
    for (UInt32 number = 0; number < instrument.pulledBuses(); ++number) {
        add(instrument.bus(number), frames);
    }
    return mChannels;
}

std::span<const float* const> BusMix::mend(std::span<const float* const> channels, UInt32 frames) {
    prepare(channels.size(), frames);
    add(channels, frames);
    return mChannels;
}

void BusMix::prepare(std::size_t channels, UInt32 frames) {
    mSamples.assign(channels * frames, 0.0f);
    mChannels.resize(channels);
    for (std::size_t i = 0; i < channels; ++i) {
        mChannels[i] = mSamples.data() + i * frames;
    }
}

void BusMix::add(std::span<const float* const> bus, UInt32 frames) {
    if (bus.empty()) {
        return;
    }
    const std::size_t targets = bus.size() == 1 ? mChannels.size() : bus.size();
    for (std::size_t i = 0; i < targets; ++i) {
        const float* from = bus[bus.size() == 1 ? 0 : i];
        float* to = mSamples.data() + i * frames;
        for (UInt32 frame = 0; frame < frames; ++frame) {
            if (std::isfinite(from[frame])) {
                to[frame] += from[frame];
            } else {
                ++mMended;
            }
        }
    }
}

} // namespace velnor::host
