// All buses of an instrument as one set of channels.
#ifndef VELNOR_HOST_RENDER_BUSMIX_H
#define VELNOR_HOST_RENDER_BUSMIX_H

#include "host/instrument/Instrument.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velnor::host {

// As many channels as the widest bus. Buses are added up, a mono bus into every channel, samples
// that are no numbers as 0. One bus alone passes as it is.
class BusMix {
public:
    std::span<const float* const> mix(const Instrument& instrument, UInt32 frames);
    // A copy of channels that are not this mix's own, with samples that are no numbers as 0.
    std::span<const float* const> mend(std::span<const float* const> channels, UInt32 frames);

    // Samples that were no numbers (NaN or infinite) and were made 0.
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
