// The executable of a bundle for this word width: where it is, loading it, finding functions.
#ifndef VELNOR_PLATFORM_COMPONENTS_BUNDLEEXECUTABLE_H
#define VELNOR_PLATFORM_COMPONENTS_BUNDLEEXECUTABLE_H

#include "platform/CFDictionary.h"

#include <memory>
#include <string>

namespace velnor {

struct UnloadImage {
    void operator()(void* image) const noexcept;
};
// A hold on loaded code, which is unloaded with the last one.
using LoadedImage = std::unique_ptr<void, UnloadImage>;

// The path of the executable that the Info dictionary names. Empty, with the reason in error, when
// it names none or something else than a single entry of the platform folder, or when that entry is
// no regular file.
std::string FindBundleExecutable(const std::string& bundle, CFDictionaryRef info,
                                 std::string& error);

// Null, with the loader's text in error, when it refuses the file.
LoadedImage LoadImage(const std::string& path, std::string& error);

// Null, with the loader's text in error, when the image has no such symbol.
void* FindInImage(const LoadedImage& image, const std::string& name, std::string& error);

} // namespace velnor

#endif
