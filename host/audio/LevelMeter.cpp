#include "host/audio/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace velnor::host {

namespace {

double decibels(double amplitude) {
    return amplitude > 0.0 ? 20.0 * std::log10(amplitude)
                           : -std::numeric_limits<double>::infinity();
}

// Four samples at once.
using Lanes = float __attribute__((vector_size(16)));
constexpr std::size_t kLanes = sizeof(Lanes) / sizeof(float);

struct Levels {
    void add(Lanes samples) {
        const Lanes amplitude = samples < 0.0f ? -samples : samples;
        peak = peak < amplitude ? amplitude : peak;
        squares += amplitude * amplitude;
    }
    void add(const float* samples, std::size_t count) {
        std::size_t done = 0;
        Lanes lanes;
        for (; done + kLanes <= count; done += kLanes) {
            std::memcpy(&lanes, samples + done, sizeof lanes);
            add(lanes);
        }
        lanes = Lanes{};
        std::memcpy(&lanes, samples + done, (count - done) * sizeof(float));
        add(lanes);
    }
    Lanes peak = {};
    Lanes squares = {};
};

std::uint64_t countClipped(const float* samples, std::size_t count) {
    return static_cast<std::uint64_t>(
        std::count_if(samples, samples + count, [](float x) { return std::fabs(x) > 1.0f; }));
}

} // namespace

bool LevelMeter::add(std::span<const float* const> channels, std::size_t count) {
    Levels levels;
    for (const float* channel : channels) {
        levels.add(channel, count);
    }
    double peak = 0.0;
    double squares = 0.0;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        peak = std::max(peak, static_cast<double>(levels.peak[lane]));
        squares += static_cast<double>(levels.squares[lane]);
    }
    if (!std::isfinite(squares)) {
        return false;
    }
    if (peak > 1.0) {
        for (const float* channel : channels) {
            mClipped += countClipped(channel, count);
        }
    }
    mPeak = std::max(mPeak, peak);
    mSquares += squares;
    mCount += count * channels.size();
    return true;
}

double LevelMeter::peakDecibels() const {
    return decibels(mPeak);
}

double LevelMeter::rmsDecibels() const {
    return mCount == 0 ? decibels(0.0)
                       : decibels(std::sqrt(mSquares / static_cast<double>(mCount)));
}

} // namespace velnor::host
