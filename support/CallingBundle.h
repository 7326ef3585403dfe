// The bundle that this code was linked into. Internal to the support library.
#ifndef VELNOR_SUPPORT_CALLINGBUNDLE_H
#define VELNOR_SUPPORT_CALLINGBUNDLE_H

#include <optional>
#include <string>

namespace velnor {

// The folder three names above the file of the image that holds this code. Nothing when that image
// is the process's program or has no name.
std::optional<std::string> callingBundlePath();

} // namespace velnor

#endif
