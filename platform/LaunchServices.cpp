#include "platform/LaunchServices.h"

#include "platform/CFStringObject.h"
#include "platform/ChildProgram.h"

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
