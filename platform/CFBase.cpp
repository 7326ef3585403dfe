#include "platform/CFBase.h"

#include "platform/CFObject.h"

namespace velnor {
namespace {

std::atomic<CFIndex> gLiveObjects{0};
std::atomic<CFTypeID> gLastTypeID{0};

} // namespace

CFTypeID NewTypeID() {
    return gLastTypeID.fetch_add(1) + 1;
}

CFObject::CFObject() : mState(kOneReference) {
    gLiveObjects.fetch_add(1);
}

bool CFObject::CountsAsAlive(std::uintptr_t state) noexcept {
    if ((state & kImmortal) != 0 || state < kOneReference) {
        return false;
    }
    return (state & kCached) == 0 || state >= 2 * kOneReference;
}

void CFObject::Moved(std::uintptr_t from, std::uintptr_t to) noexcept {
    const int change = int{CountsAsAlive(to)} - int{CountsAsAlive(from)};
    if (change != 0) {
        gLiveObjects.fetch_add(change);
    }
}

void CFObject::Retain() noexcept {
    if ((mState.load(std::memory_order_relaxed) & kImmortal) != 0) {
        return;
    }
    const auto from = mState.fetch_add(kOneReference, std::memory_order_relaxed);
    Moved(from, from + kOneReference);
}

bool CFObject::RetainIfAlive() noexcept {
    auto from = mState.load(std::memory_order_relaxed);
    do {
        if ((from & kImmortal) != 0) {
            return true;
        }
        if (from < kOneReference) {
            return false;
        }
    } while (!mState.compare_exchange_weak(from, from + kOneReference));
    Moved(from, from + kOneReference);
    return true;
}

void CFObject::Release() noexcept {
    if ((mState.load(std::memory_order_relaxed) & kImmortal) != 0) {
        return;
    }
    const auto from = mState.fetch_sub(kOneReference, std::memory_order_acq_rel);
    Moved(from, from - kOneReference);
    if (from - kOneReference < kOneReference) {
        delete this;
    }
}

CFIndex CFObject::RetainCount() const noexcept {
    return static_cast<CFIndex>(mState.load(std::memory_order_relaxed) / kOneReference);
}

void CFObject::MakeImmortal() {
    const auto from = mState.fetch_or(kImmortal);
    Moved(from, from | kImmortal);
    ForEachChild([](CFObject& child) { child.MakeImmortal(); });
}

void CFObject::EnterCache() {
    const auto from = mState.fetch_or(kCached);
    Moved(from, from | kCached);
    ForEachChild([](CFObject& child) { child.EnterCache(); });
}

void CFObject::LeaveCache() {
    ForEachChild([](CFObject& child) { child.LeaveCache(); });
    const auto from = mState.fetch_and(~kCached);
    Moved(from, from & ~kCached);
}

} // namespace velnor

using velnor::ObjectOf;

CFTypeRef CFRetain(CFTypeRef cf) {
    ObjectOf(cf).Retain();
    return cf;
}

void CFRelease(CFTypeRef cf) {
    ObjectOf(cf).Release();
}

CFIndex CFGetRetainCount(CFTypeRef cf) {
    return ObjectOf(cf).RetainCount();
}

CFTypeID CFGetTypeID(CFTypeRef cf) {
    return ObjectOf(cf).TypeID();
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
    const auto& first = ObjectOf(a);
    const auto& second = ObjectOf(b);
    return &first == &second || (first.TypeID() == second.TypeID() && first.Equals(second));
}

CFIndex PlatformLiveObjectCount(void) {
    return velnor::gLiveObjects.load();
}
