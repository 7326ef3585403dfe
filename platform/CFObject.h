/* The base of every object behind a platform reference. Internal to the platform library. */
#ifndef VELNOR_PLATFORM_CFOBJECT_H
#define VELNOR_PLATFORM_CFOBJECT_H

#include "platform/CFBase.h"

#include <atomic>
#include <cstdint>
#include <functional>

namespace velnor {

/* Starts with one reference. A reference is the address of the CFObject: derive from CFObjectOf
 * alone, or name it first among the bases. Thread any, concurrent for the counts. */
class CFObject {
public:
    CFObject(const CFObject&) = delete;
    CFObject& operator=(const CFObject&) = delete;

    virtual CFTypeID TypeID() const = 0;
    /* other has the same type. */
    virtual bool Equals(const CFObject& other) const { return this == &other; }
    /* Calls visit for each object that this one retains. */
    virtual void ForEachChild(const std::function<void(CFObject&)>&) const {}

    void Retain() noexcept;
    /* Takes a reference unless the last one is gone already: for tables that list objects without
     * owning them. The object's memory must still be there. */
    [[nodiscard]] bool RetainIfAlive() noexcept;
    void Release() noexcept;
    CFIndex RetainCount() const noexcept;

    /* From here on the object and all that it retains live for the process's life and are not
     * counted as alive. */
    void MakeImmortal();

    /* Says that one reference to this object, and the one to each object below it, belongs to a
     * cache of the platform: an object with no other reference is not counted as alive. The tree
     * must be immutable, its objects in no other cache, and LeaveCache must come before the cache
     * gives its reference back. */
    void EnterCache();
    void LeaveCache();

protected:
    CFObject();
    virtual ~CFObject() = default;

private:
    /* The count of references in units of kOneReference, and two marks below it. */
    static constexpr std::uintptr_t kCached = 1;
    static constexpr std::uintptr_t kImmortal = 2;
    static constexpr std::uintptr_t kOneReference = 4;

    static bool CountsAsAlive(std::uintptr_t state) noexcept;
    static void Moved(std::uintptr_t from, std::uintptr_t to) noexcept;

    std::atomic<std::uintptr_t> mState;
};

/* A type identifier that no other call returned. */
CFTypeID NewTypeID();

/* Base of the concrete type Self: gives it an identifier of its own. */
template <class Self>
class CFObjectOf : public CFObject {
public:
    static CFTypeID StaticTypeID() {
        static const CFTypeID id = NewTypeID();
        return id;
    }
    CFTypeID TypeID() const final { return StaticTypeID(); }
};

/* The object behind a reference that is not null. */
inline CFObject& ObjectOf(CFTypeRef ref) {
    return *static_cast<CFObject*>(const_cast<void*>(ref));
}

/* The object behind a reference of known type, which may not be null. */
template <class T>
T& Cast(CFTypeRef ref) {
    return static_cast<T&>(ObjectOf(ref));
}

/* The object behind a reference, or null when it is null or of another type. */
template <class T>
T* CastIf(CFTypeRef ref) {
    if (ref == nullptr || ObjectOf(ref).TypeID() != T::StaticTypeID()) {
        return nullptr;
    }
    return &Cast<T>(ref);
}

/* The reference of an object, as the public type Ref. */
template <class Ref>
Ref RefOf(const CFObject* object) {
    return static_cast<Ref>(const_cast<void*>(static_cast<const void*>(object)));
}

} // namespace velnor

#endif
