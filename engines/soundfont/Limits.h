// The range of every number in the engine's state, for properties and chunk alike.
#ifndef VELNOR_ENGINES_SOUNDFONT_LIMITS_H
#define VELNOR_ENGINES_SOUNDFONT_LIMITS_H

#include "engines/soundfont/EngineState.h"

namespace velnor::soundfont {

template <class T>
struct Limits {
    T low;
    T high;
    // False for a NaN too.
    constexpr bool hold(T value) const { return value >= low && value <= high; }
};

inline constexpr Limits<float> kGainLimits{0.0F, 10.0F};
inline constexpr Limits<int32_t> kPolyphonyLimits{1, kMaxPolyphony};
inline constexpr Limits<int32_t> kSwitchLimits{0, 1};
inline constexpr Limits<float> kRoomSizeLimits{0.0F, 1.0F};
inline constexpr Limits<float> kDampingLimits{0.0F, 1.0F};
inline constexpr Limits<float> kReverbWidthLimits{0.0F, 100.0F};
inline constexpr Limits<float> kReverbLevelLimits{0.0F, 1.0F};
inline constexpr Limits<int32_t> kChorusVoicesLimits{0, 99};
inline constexpr Limits<float> kChorusLevelLimits{0.0F, 10.0F};
inline constexpr Limits<float> kChorusSpeedLimits{0.1F, 5.0F};
inline constexpr Limits<float> kChorusDepthLimits{0.0F, 256.0F};
inline constexpr Limits<int32_t> kBankLimits{0, 16383};
inline constexpr Limits<int32_t> kProgramLimits{kNoProgram, 127};
inline constexpr Limits<int32_t> kDataLimits{0, 127};
inline constexpr Limits<int32_t> kBendLimits{0, 16383};
inline constexpr Limits<int32_t> kNrpnLimits{0, kNoNrpn};
// The largest offset that an NRPN can reach is 8,192 x 64.
inline constexpr Limits<float> kGeneratorLimits{-524288.0F, 524288.0F};
inline constexpr Limits<int32_t> kRateLimits{8000, 96000}; // Hz, what FluidSynth takes

} // namespace velnor::soundfont

#endif
