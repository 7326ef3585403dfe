// Keeps the code of a bundle loaded while it may be running.
//
// A component or a timer action can close the last instance of its own component. Its bundle is
// then given back only after that code has returned.
#ifndef VELNOR_PLATFORM_COMPONENTS_FOREIGNCODESCOPE_H
#define VELNOR_PLATFORM_COMPONENTS_FOREIGNCODESCOPE_H

#include "platform/CFBase.h"

#include <vector>

namespace velnor {

// Of this thread. Initial-exec: a first access must not allocate, it may come from a render thread.
struct ForeignCodeState {
    int depth = 0;
    std::vector<CFTypeRef>* putOff = nullptr;
};
extern constinit thread_local ForeignCodeState tForeignCode
    __attribute__((tls_model("initial-exec")));

// Stands on the stack around every call out of the platform layer into a bundle's code. The end of
// the outermost scope of a thread gives back what ReleaseAfterForeignCode put off. Thread any,
// concurrent; touches nothing but a few words of the thread's own as long as nothing was put off,
// so that it may stand on the render road inside an escape.
class ForeignCodeScope {
public:
    ForeignCodeScope() { ++tForeignCode.depth; }
    ~ForeignCodeScope() {
        if (--tForeignCode.depth == 0 && tForeignCode.putOff != nullptr) {
            ReleasePutOff();
        }
    }
    ForeignCodeScope(const ForeignCodeScope&) = delete;
    ForeignCodeScope& operator=(const ForeignCodeScope&) = delete;

private:
    static void ReleasePutOff();
};

// Takes over one reference and releases it: at once outside of every scope of this thread, else
// when the outermost one ends; never when memory does not suffice to remember it. May block.
void ReleaseAfterForeignCode(CFTypeRef object) noexcept;

} // namespace velnor

#endif
