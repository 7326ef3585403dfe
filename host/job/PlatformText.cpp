#include "host/job/PlatformText.h"

#include <cstring>

namespace velnor::host {

std::string textOf(CFStringRef string) {
    if (!string) {
        return "";
    }
    std::string text(static_cast<std::size_t>(CFStringGetMaximumSizeForEncoding(
                         CFStringGetLength(string), kCFStringEncodingUTF8)) +
                         1,
                     '\0');
    if (!CFStringGetCString(string, text.data(), static_cast<CFIndex>(text.size()),
                            kCFStringEncodingUTF8)) {
        return "";
    }
    text.resize(std::strlen(text.c_str()));
    return text;
}

CFRef<CFStringRef> platformString(const std::string& text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

} // namespace velnor::host
