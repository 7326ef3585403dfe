#include "support/BundleVersion.h"

#include "platform/CFBundle.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/CFURL.h"

namespace {

using velnor::CFRef;

constexpr const char* kNoVersion = "Can't get version.";
constexpr CFIndex kVersionBufferSize = 1024;

CFRef<CFBundleRef> openBundle(const std::string& path) {
    const CFRef<CFStringRef> text(
        CFStringCreateWithCString(kCFAllocatorDefault, path.c_str(), kCFStringEncodingUTF8));
    if (!text) {
        return CFRef<CFBundleRef>();
    }
    const CFRef<CFURLRef> url(
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.Get(), kCFURLPOSIXPathStyle, true));
    return CFRef<CFBundleRef>(url ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr);
}

} // namespace

std::string MacGetBundleVersion(const std::string& path) {
    const CFRef<CFBundleRef> bundle = openBundle(path);
    if (!bundle) {
        return kNoVersion;
    }
    const CFTypeRef version =
        CFBundleGetValueForInfoDictionaryKey(bundle.Get(), kCFBundleVersionKey);
    char text[kVersionBufferSize];
    if (version == nullptr || CFGetTypeID(version) != CFStringGetTypeID() ||
        !CFStringGetCString(static_cast<CFStringRef>(version), text, kVersionBufferSize,
                            kCFStringEncodingUTF8)) {
        return kNoVersion;
    }
    return text;
}
