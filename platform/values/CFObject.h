// The base of every object behind a platform reference.
#ifndef VELNOR_PLATFORM_VALUES_CFOBJECT_H
#define VELNOR_PLATFORM_VALUES_CFOBJECT_H

#include "platform/CFBase.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace velnor {

// Starts with one reference. A reference is the address of the CFObject: derive from CFObjectOf
// alone, or name it first among the bases. Thread any, concurrent for the counts.
class CFObject {
public:
    CFObject(const CFObject&) = delete;
    CFObject& operator=(const CFObject&) = delete;

    virtual CFTypeID TypeID() const = 0;
    // other has the same type.
    virtual bool Equals(const CFObject& other) const { return this == &other; }
    // Calls visit for each object that this one retains.
    virtual void ForEachChild(const std::function<void(CFObject&)>&) const {}

    void Retain() noexcept;
    // Takes a reference unless the last one is gone already: for tables that list objects without
    // owning them. The object's memory must still be there.
    [[nodiscard]] bool RetainIfAlive() noexcept;
    void Release() noexcept;
    CFIndex RetainCount() const noexcept;

    // From here on the object and all that it retains live for the process's life and are not
    // counted as alive.
    void MakeImmortal();

    // Says that one of the references belongs to a cache of the platform, and so do those that the
    // object holds, as long as a cache holds it itself. An object that only caches hold is not
    // counted as alive. The tree is immutable; LeaveCache comes before the cache gives its
    // reference back.
    void EnterCache();
    void LeaveCache();

protected:
    CFObject();
    virtual ~CFObject();

private:
    // References, those of caches among them, and how many are those of caches.
    using State = std::uint64_t;
    static constexpr State kImmortal = 1;
    static constexpr State kOneReference = 2;
    static constexpr State kOneCache = State{1} << 32;

    static State References(State state) noexcept { return state % kOneCache / kOneReference; }
    static State Caches(State state) noexcept { return state / kOneCache; }
    static bool CountsAsAlive(State state) noexcept;
    static void Moved(State from, State to) noexcept;

    std::atomic<State> mState;
};

// A type identifier that no other call returned.
CFTypeID NewTypeID();

// Base of the concrete type Self: gives it an identifier of its own.
template <class Self>
class CFObjectOf : public CFObject {
public:
    static CFTypeID StaticTypeID() {
        static const CFTypeID id = NewTypeID();
        return id;
    }
    CFTypeID TypeID() const final { return StaticTypeID(); }

private:
    friend Self;
    CFObjectOf() = default;
};

// The object behind a reference that is not null.
inline CFObject& ObjectOf(CFTypeRef ref) {
    return *static_cast<CFObject*>(const_cast<void*>(ref));
}

// The object behind a reference of known type, which may not be null.
template <class T>
T& Cast(CFTypeRef ref) {
    return static_cast<T&>(ObjectOf(ref));
}

// The object behind a reference, or null when it is null or of another type.
template <class T>
T* CastIf(CFTypeRef ref) {
    if (ref == nullptr || ObjectOf(ref).TypeID() != T::StaticTypeID()) {
        return nullptr;
    }
    return &Cast<T>(ref);
}

// The reference of an object, as the public type Ref.
template <class Ref>
Ref RefOf(const CFObject* object) {
    return static_cast<Ref>(const_cast<void*>(static_cast<const void*>(object)));
}

} // namespace velnor

#endif
