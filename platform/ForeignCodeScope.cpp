#include "platform/ForeignCodeScope.h"

#include <new>
#include <utility>
#include <vector>

namespace velnor {
namespace {

// Initial-exec: a thread's first access must not allocate, it may be a render thread.
struct ThreadState {
    int depth;
    std::vector<CFTypeRef>* putOff;
};
thread_local ThreadState tState __attribute__((tls_model("initial-exec"))) = {0, nullptr};

void ReleasePutOff() {
    std::vector<CFTypeRef>* objects = std::exchange(tState.putOff, nullptr);
    for (CFTypeRef object : *objects)
        CFRelease(object);
    delete objects;
}

} // namespace

ForeignCodeScope::ForeignCodeScope() {
    ++tState.depth;
}

ForeignCodeScope::~ForeignCodeScope() {
    if (--tState.depth == 0 && tState.putOff != nullptr)
        ReleasePutOff();
}

void ReleaseAfterForeignCode(CFTypeRef object) noexcept {
    if (tState.depth == 0) {
        CFRelease(object);
        return;
    }
    try {
        if (tState.putOff == nullptr)
            tState.putOff = new std::vector<CFTypeRef>;
        tState.putOff->push_back(object);
    } catch (const std::bad_alloc&) {
        /* The code may be running: it stays. */
    }
}

} // namespace velnor
