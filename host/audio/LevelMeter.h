// How loud a render is, and whether its samples are sound.
#ifndef VELNOR_HOST_AUDIO_LEVELMETER_H
#define VELNOR_HOST_AUDIO_LEVELMETER_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace velnor::host {

class LevelMeter {
public:
    // One run of `count` samples per channel. False, and nothing is added, when the squares of
    // them have no finite sum: a sample is no number, or far beyond any level.
    bool add(std::span<const float* const> channels, std::size_t count);

    double peakDecibels() const; // dBFS; minus infinity for silence
    double rmsDecibels() const;  // dBFS of all samples together; a full-scale square wave is 0
    std::uint64_t clipped() const { return mClipped; } // samples beyond full scale

private:
    double mPeak = 0.0;
    double mSquares = 0.0;
    std::uint64_t mCount = 0;
    std::uint64_t mClipped = 0;
};

} // namespace velnor::host

#endif
