#include "platform/components/ForeignCodeScope.h"

#include <new>
#include <utility>

namespace velnor {

constinit thread_local ForeignCodeState tForeignCode;

void ForeignCodeScope::ReleasePutOff() {
    std::vector<CFTypeRef>* objects = std::exchange(tForeignCode.putOff, nullptr);
    for (CFTypeRef object : *objects) {
        CFRelease(object);
    }
    delete objects;
}

void ReleaseAfterForeignCode(CFTypeRef object) noexcept {
    if (tForeignCode.depth == 0) {
        CFRelease(object);
        return;
    }
    try {
        if (tForeignCode.putOff == nullptr) {
            tForeignCode.putOff = new std::vector<CFTypeRef>;
        }
        tForeignCode.putOff->push_back(object);
    } catch (const std::bad_alloc&) {
        // The code may be running: it stays.
    }
}

} // namespace velnor
