/* All buses of an instrument as one set of channels. */
#ifndef VELNOR_HOST_BUSMIX_H
#define VELNOR_HOST_BUSMIX_H

#include "host/Instrument.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velnor::host {

/* As many channels as the widest bus. Buses are added up, a mono bus into every channel. One bus
 * alone passes without a copy unless it has samples that are no numbers. */
class BusMix {
public:
    std::span<const float* const> mix(const Instrument& instrument, UInt32 frames);
    /* A bus by itself, with samples that are no numbers as 0. */
    std::span<const float* const> bus(const Instrument& instrument, UInt32 number, UInt32 frames);

    /* Samples that were no numbers (NaN or infinite) and were made 0. */
    std::uint64_t mended() const { return mMended; }

private:
    void prepare(std::size_t channels, UInt32 frames);
    void add(std::span<const float* const> bus, UInt32 frames);

    std::vector<float> mSamples;
    std::vector<const float*> mChannels;
    std::uint64_t mMended = 0;
};

} // namespace velnor::host

#endif
