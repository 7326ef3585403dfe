#include "platform/components/BundleExecutable.h"

#include "platform/CFBundle.h"
#include "platform/files/FileSystem.h"
#include "platform/values/CFStringObject.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <sys/stat.h>

namespace velnor {
namespace {

constexpr char kPlatformFolder[] = VELNOR_PLATFORM_FOLDER;

std::string LoaderError() {
    const char* text = dlerror();
    return text ? text : "the loader gives no reason";
}

// The executable's file name; empty, with the reason in error, when the dictionary has no good one.
std::string ExecutableName(CFDictionaryRef info, std::string& error) {
    const CFTypeRef value = CFDictionaryGetValue(info, kCFBundleExecutableKey);
    const std::string key = TextOf(kCFBundleExecutableKey);
    if (value == nullptr) {
        error = "Contents/Info.plist has no " + key;
        return {};
    }
    const auto* name = CastIf<StringObject>(value);
    if (name == nullptr) {
        error = key + " in Contents/Info.plist is not text";
        return {};
    }
    if (!IsEntryName(name->Text())) {
        error = key + " in Contents/Info.plist is not a file name: \"" + name->Text() + "\"";
        return {};
    }
    return name->Text();
}

std::string Describe(const std::string& path, int lookupError) {
    const std::string reason =
        lookupError == 0 ? "is not a regular file" : std::strerror(lookupError);
    return std::string("no executable for ") + kPlatformFolder + ": " + path + ": " + reason;
}

} // namespace

void UnloadImage::operator()(void* image) const noexcept {
    dlclose(image);
}

std::string FindBundleExecutable(const std::string& bundle, CFDictionaryRef info,
                                 std::string& error) {
    const std::string name = ExecutableName(info, error);
    if (name.empty()) {
        error.insert(0, bundle + ": ");
        return {};
    }
    std::string path = bundle + "/Contents/" + kPlatformFolder + "/" + name;
    struct stat found;
    const int lookupError = stat(path.c_str(), &found) == 0 ? 0 : errno;
    if (lookupError != 0 || !S_ISREG(found.st_mode)) {
        error = Describe(path, lookupError);
        return {};
    }
    return path;
}

LoadedImage LoadImage(const std::string& path, std::string& error) {
    LoadedImage image(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!image) {
        error = LoaderError();
    }
    return image;
}

void* FindInImage(const LoadedImage& image, const std::string& name, std::string& error) {
    dlerror();
    void* const symbol = dlsym(image.get(), name.c_str());
    if (symbol == nullptr) {
        error = LoaderError();
    }
    return symbol;
}

} // namespace velnor
