#include "platform/CFBase.h"

#include "platform/values/CFObject.h"

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

// The last Release has counted it down, a constructor that throws has not.
CFObject::~CFObject() {
    Moved(mState.load(std::memory_order_relaxed), 0);
}

bool CFObject::CountsAsAlive(State state) noexcept {
    return (state & kImmortal) == 0 && References(state) > Caches(state);
}

void CFObject::Moved(State from, State to) noexcept {
    const int change = int{CountsAsAlive(to)} - int{CountsAsAlive(from)};
    if (change != 0) {
        gLiveObjects.fetch_add(change, std::memory_order_relaxed);
    }
}

void CFObject::Retain() noexcept {
    if ((mState.load(std::memory_order_relaxed) & kImmortal) != 0) {
        return;
    }
    const State from = mState.fetch_add(kOneReference, std::memory_order_relaxed);
    Moved(from, from + kOneReference);
}

bool CFObject::RetainIfAlive() noexcept {
    State from = mState.load(std::memory_order_relaxed);
    do {
        if ((from & kImmortal) != 0) {
            return true;
        }
        if (References(from) == 0) {
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
    const State from = mState.fetch_sub(kOneReference, std::memory_order_acq_rel);
    Moved(from, from - kOneReference);
    if (References(from) == 1) {
        delete this;
    }
}

CFIndex CFObject::RetainCount() const noexcept {
    return static_cast<CFIndex>(References(mState.load(std::memory_order_relaxed)));
}

void CFObject::MakeImmortal() {
    const State from = mState.fetch_or(kImmortal);
    Moved(from, from | kImmortal);
    ForEachChild([](CFObject& child) { child.MakeImmortal(); });
}

void CFObject::EnterCache() {
    const State from = mState.fetch_add(kOneCache);
    Moved(from, from + kOneCache);
    if (Caches(from) == 0) {
        ForEachChild([](CFObject& child) { child.EnterCache(); });
    }
}

void CFObject::LeaveCache() {
    const State from = mState.fetch_sub(kOneCache);
    Moved(from, from - kOneCache);
    if (Caches(from) == 1) {
        ForEachChild([](CFObject& child) { child.LeaveCache(); });
    }
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
