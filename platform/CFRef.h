// The owner of one reference to a platform object.
#ifndef VELNOR_PLATFORM_CFREF_H
#define VELNOR_PLATFORM_CFREF_H

#include "platform/CFBase.h"

#include <utility>

namespace velnor {

// T is a reference type such as CFStringRef. Construct it from the result of a Create or Copy call,
// which it adopts, null included; borrowed results of Get calls go through Retained. Releases at
// the end of its life. Thread any, exclusive; copies are made explicitly with Share.
template <class T>
class CFRef {
public:
    CFRef() noexcept = default;
    explicit CFRef(T adopted) noexcept : mRef(adopted) {}
    CFRef(CFRef&& other) noexcept : mRef(other.Detach()) {}
    CFRef& operator=(CFRef&& other) noexcept {
        Reset(other.Detach());
        return *this;
    }
    ~CFRef() { Reset(); }

    // An owner of a further reference to a borrowed object, which may be null.
    static CFRef Retained(T borrowed) {
        if (borrowed != nullptr) {
            CFRetain(borrowed);
        }
        return CFRef(borrowed);
    }
    CFRef Share() const { return Retained(mRef); }

    T Get() const noexcept { return mRef; }
    explicit operator bool() const noexcept { return mRef != nullptr; }

    // Hands the reference to the caller.
    [[nodiscard]] T Detach() noexcept { return std::exchange(mRef, nullptr); }

    // Releases the reference held and adopts another one.
    void Reset(T adopted = nullptr) noexcept {
        T old = std::exchange(mRef, adopted);
        if (old != nullptr) {
            CFRelease(old);
        }
    }

    // Releases the reference held and gives the place for a call that returns one by pointer.
    T* Out() noexcept {
        Reset();
        return &mRef;
    }

private:
    T mRef = nullptr;
};

} // namespace velnor

#endif
