/* How loud a render is, and whether its samples are sound. */
#ifndef VELNOR_HOST_LEVELMETER_H
#define VELNOR_HOST_LEVELMETER_H

#include <cstddef>
#include <cstdint>

namespace velnor::host {

class LevelMeter {
public:
    void add(const float* samples, std::size_t count);

    double peakDecibels() const; /* dBFS; minus infinity for silence */
    double rmsDecibels() const;  /* dBFS of all samples together; a full-scale square wave is 0 */
    std::uint64_t clipped() const { return mClipped; } /* samples beyond full scale */

private:
    double mPeak = 0.0;
    double mSquares = 0.0;
    std::uint64_t mCount = 0;
    std::uint64_t mClipped = 0;
};

} // namespace velnor::host

#endif
