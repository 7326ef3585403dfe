#include "support/Browser.h"

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/LaunchServices.h"

void startBrowser(const std::string& url) {
    const velnor::CFRef<CFURLRef> parsed(
        CFURLCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(url.data()),
                             static_cast<CFIndex>(url.size()), kCFStringEncodingASCII, nullptr));
    if (parsed) {
        LSOpenCFURLRef(parsed.Get(), nullptr);
    }
}
