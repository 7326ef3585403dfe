#include "platform/LaunchServices.h"

#include "platform/alerts/ChildProgram.h"
#include "platform/values/CFStringObject.h"

OSStatus LSOpenCFURLRef(CFURLRef url, CFURLRef* launched) {
    if (url == nullptr || launched != nullptr) {
        return paramErr;
    }
    const auto opener = velnor::FindProgram("xdg-open");
    if (!opener) {
        return kLSApplicationNotFoundErr;
    }
    const std::string text = velnor::TextOf(CFURLGetString(url));
    return velnor::StartDetachedProgram(*opener, {text}) ? noErr : ioErr;
}
