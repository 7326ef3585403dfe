// A reference that belongs to one of the platform's caches.
#ifndef VELNOR_PLATFORM_VALUES_CACHEHOLD_H
#define VELNOR_PLATFORM_VALUES_CACHEHOLD_H

#include "platform/CFRef.h"
#include "platform/values/CFObject.h"

namespace velnor {

// Owns a reference to an immutable tree, or none; what it alone holds is not counted as alive.
template <class T>
class CacheHold {
public:
    CacheHold() = default;
    explicit CacheHold(CFRef<T> ref) : mRef(std::move(ref)) {
        if (mRef) {
            ObjectOf(mRef.Get()).EnterCache();
        }
    }
    CacheHold(CacheHold&&) = default;
    CacheHold& operator=(CacheHold&& other) noexcept {
        std::swap(mRef, other.mRef);
        return *this;
    }
    ~CacheHold() {
        if (mRef) {
            ObjectOf(mRef.Get()).LeaveCache();
        }
    }

    T Get() const { return mRef.Get(); }
    CFRef<T> Share() const { return mRef.Share(); }

private:
    CFRef<T> mRef;
};

} // namespace velnor

#endif
