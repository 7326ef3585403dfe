// The callbacks that a host has called when a property changes.
#ifndef VELNOR_FRAMEWORK_PROPERTYLISTENERLIST_H
#define VELNOR_FRAMEWORK_PROPERTYLISTENERLIST_H

#include "platform/AudioUnitTypes.h"
#include "platform/Facts.h"

#include <atomic>

namespace velnor {

/// Every thread may register, remove and notify at any time, inside a listener too: the render
/// thread reports a failed render while the main thread changes the list. No operation locks.
///
/// Slots are linked once and stay until the list goes; a removed registration leaves its slot for a
/// later one. Each slot's ticket tells who may touch it: 0 free, 1 being filled, above that a
/// registration's own number, never given twice. A reader takes the ticket, the slot's words and
/// the ticket again, and believes them only when both tickets are the same registration's.
class PropertyListenerList {
public:
    PropertyListenerList() = default;
    ~PropertyListenerList();
    PropertyListenerList(const PropertyListenerList&) = delete;
    PropertyListenerList& operator=(const PropertyListenerList&) = delete;

    /// Does nothing when the three values are registered already. Allocates when no slot is free
    /// (std::bad_alloc).
    void Add(AudioUnitPropertyID inID, AudioUnitPropertyListenerProc inProc, void* inUserData);

    /// Removes the registrations of the pair with every user data.
    void Remove(AudioUnitPropertyID inID, AudioUnitPropertyListenerProc inProc);

    /// Calls the listeners of inID that are registered as this begins and are not removed before
    /// their turn. Nonblocking but for the listeners themselves.
    void Notify(AudioUnit inUnit, AudioUnitPropertyID inID, AudioUnitScope inScope,
                AudioUnitElement inElement) const VELNOR_NONBLOCKING;

private:
    struct Registration {
        AudioUnitPropertyID id;
        AudioUnitPropertyListenerProc proc;
        void* userData;
    };
    struct Slot {
        std::atomic<UInt32> ticket{0};
        std::atomic<AudioUnitPropertyID> id{0};
        std::atomic<AudioUnitPropertyListenerProc> proc{nullptr};
        std::atomic<void*> userData{nullptr};
        std::atomic<Slot*> next{nullptr};
    };

    /// The registration's ticket, or 0 when the slot holds none.
    static UInt32 Read(const Slot& inSlot, Registration& outRegistration) VELNOR_NONBLOCKING;
    bool Holds(const Registration& inRegistration) const;
    Slot& ClaimSlot();
    Slot& AppendSlot();

    std::atomic<Slot*> mFirst{nullptr};
    std::atomic<UInt32> mNextTicket{2};
};

} // namespace velnor

#endif
