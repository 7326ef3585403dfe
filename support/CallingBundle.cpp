#include "support/CallingBundle.h"

#include "platform/LoadedImages.h"

namespace velnor {

namespace {

constexpr int kNamesBelowBundle = 3;    // Contents, the platform's folder, the executable
constexpr UInt32 kFirstLoadedImage = 1; // image 0 is the program

const char kInThisImage = 0; // an address in this code's image

const char* callingImageName() {
    const mach_header* own = PlatformImageHeaderForAddress(&kInThisImage);
    const UInt32 count = _dyld_image_count();
    for (UInt32 i = kFirstLoadedImage; own != nullptr && i < count; ++i) {
        if (_dyld_get_image_header(i) == own) {
            return _dyld_get_image_name(i);
        }
    }
    return nullptr;
}

} // namespace

std::optional<std::string> callingBundlePath() {
    const char* name = callingImageName();
    if (name == nullptr || *name == '\0') {
        return std::nullopt;
    }
    std::string path = name;
    for (int i = 0; i < kNamesBelowBundle; ++i) {
        path.resize(std::min(path.size(), path.rfind('/')));
    }
    return path;
}

} // namespace velnor
