#include "host/BusMix.h"

#include <algorithm>
#include <cmath>

namespace velnor::host {

namespace {

bool areNumbers(std::span<const float* const> channels, UInt32 frames) {
    for (const float* channel : channels) {
        float sum = 0.0f; /* 0 * x is no number exactly when x is none or infinite */
        for (UInt32 i = 0; i < frames; ++i)
            sum += 0.0f * channel[i];
        if (std::isnan(sum))
            return false;
    }
    return true;
}

} // namespace

std::span<const float* const> BusMix::mix(const Instrument& instrument, UInt32 frames) {
    if (instrument.pulledBuses() == 1)
        return bus(instrument, 0, frames);
    std::size_t channels = 0;
    for (UInt32 number = 0; number < instrument.pulledBuses(); ++number)
        channels = std::max(channels, instrument.bus(number).size());
    prepare(channels, frames);
    for (UInt32 number = 0; number < instrument.pulledBuses(); ++number)
        add(instrument.bus(number), frames);
    return mChannels;
}

std::span<const float* const> BusMix::bus(const Instrument& instrument, UInt32 number,
                                          UInt32 frames) {
    const std::span<const float* const> channels = instrument.bus(number);
    if (areNumbers(channels, frames))
        return channels;
    prepare(channels.size(), frames);
    add(channels, frames);
    return mChannels;
}

void BusMix::prepare(std::size_t channels, UInt32 frames) {
    mSamples.assign(channels * frames, 0.0f);
    mChannels.resize(channels);
    for (std::size_t i = 0; i < channels; ++i)
        mChannels[i] = mSamples.data() + i * frames;
}

void BusMix::add(std::span<const float* const> bus, UInt32 frames) {
    if (bus.empty())
        return;
    const std::size_t targets = bus.size() == 1 ? mChannels.size() : bus.size();
    for (std::size_t i = 0; i < targets; ++i) {
        const float* from = bus[bus.size() == 1 ? 0 : i];
        float* to = mSamples.data() + i * frames;
        for (UInt32 frame = 0; frame < frames; ++frame) {
            if (std::isfinite(from[frame]))
                to[frame] += from[frame];
            else
                ++mMended;
        }
    }
}

} // namespace velnor::host
