#include "host/LevelMeter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velnor::host {

namespace {

double decibels(double amplitude) {
    return amplitude > 0.0 ? 20.0 * std::log10(amplitude)
                           : -std::numeric_limits<double>::infinity();
}

} // namespace

void LevelMeter::add(const float* samples, std::size_t count) {
    float peak = 0.0f;
    double squares = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const float amplitude = std::fabs(samples[i]);
        peak = std::max(peak, amplitude);
        squares += static_cast<double>(samples[i]) * samples[i];
        mClipped += amplitude > 1.0f;
    }
    mPeak = std::max(mPeak, static_cast<double>(peak));
    mSquares += squares;
    mCount += count;
}

double LevelMeter::peakDecibels() const {
    return decibels(mPeak);
}

double LevelMeter::rmsDecibels() const {
    return mCount == 0 ? decibels(0.0)
                       : decibels(std::sqrt(mSquares / static_cast<double>(mCount)));
}

} // namespace velnor::host
