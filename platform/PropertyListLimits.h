/* Bounds on property lists out of files. Internal to the platform library. */
#ifndef VELNOR_PLATFORM_PROPERTYLISTLIMITS_H
#define VELNOR_PLATFORM_PROPERTYLISTLIMITS_H

#include <cstddef>

namespace velnor {

constexpr int kMaxPropertyListDepth = 256; /* containers inside each other */
constexpr std::size_t kMaxPropertyListValues = std::size_t{1} << 20;
constexpr std::size_t kMaxPropertyListBytes = std::size_t{64} << 20; /* file, and text and data */

} // namespace velnor

#endif
