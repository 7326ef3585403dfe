#include "framework/PropertyListenerList.h"

#include <memory>

namespace velnor {

namespace {

constexpr UInt32 kFree = 0;
constexpr UInt32 kBeingFilled = 1;

} // namespace

PropertyListenerList::~PropertyListenerList() {
    std::unique_ptr<Slot> slot(mFirst.load());
    while (slot != nullptr) {
        slot.reset(slot->next.load());
    }
}

void PropertyListenerList::Add(AudioUnitPropertyID inID, AudioUnitPropertyListenerProc inProc,
                               void* inUserData) {
    if (Holds({inID, inProc, inUserData})) {
        return;
    }
    Slot& slot = ClaimSlot();
    slot.id.store(inID);
    slot.proc.store(inProc);
    slot.userData.store(inUserData);
    slot.ticket.store(mNextTicket.fetch_add(1));
}

void PropertyListenerList::Remove(AudioUnitPropertyID inID, AudioUnitPropertyListenerProc inProc) {
    for (Slot* slot = mFirst.load(); slot != nullptr; slot = slot->next.load()) {
        Registration found = {};
        UInt32 ticket = Read(*slot, found);
        if (ticket != kFree && found.id == inID && found.proc == inProc) {
            slot->ticket.compare_exchange_strong(ticket, kFree);
        }
    }
}

void PropertyListenerList::Notify(AudioUnit inUnit, AudioUnitPropertyID inID,
                                  AudioUnitScope inScope,
                                  AudioUnitElement inElement) const VELNOR_NONBLOCKING {
    const UInt32 end = mNextTicket.load();
    for (const Slot* slot = mFirst.load(); slot != nullptr; slot = slot->next.load()) {
        Registration found = {};
        const UInt32 ticket = Read(*slot, found);
        if (ticket != kFree && ticket < end && found.id == inID) {
            VELNOR_RT_ESCAPE("a listener is the host's code",
                             found.proc(found.userData, inUnit, inID, inScope, inElement));
        }
    }
}

UInt32 PropertyListenerList::Read(const Slot& inSlot,
                                  Registration& outRegistration) VELNOR_NONBLOCKING {
    const UInt32 ticket = inSlot.ticket.load();
    if (ticket <= kBeingFilled) {
        return kFree;
    }
    outRegistration = {inSlot.id.load(), inSlot.proc.load(), inSlot.userData.load()};
    return inSlot.ticket.load() == ticket ? ticket : kFree;
}

bool PropertyListenerList::Holds(const Registration& inRegistration) const {
    for (const Slot* slot = mFirst.load(); slot != nullptr; slot = slot->next.load()) {
        Registration found = {};
        if (Read(*slot, found) != kFree && found.id == inRegistration.id &&
            found.proc == inRegistration.proc && found.userData == inRegistration.userData) {
            return true;
        }
    }
    return false;
}

PropertyListenerList::Slot& PropertyListenerList::ClaimSlot() {
    for (Slot* slot = mFirst.load(); slot != nullptr; slot = slot->next.load()) {
        UInt32 expected = kFree;
        if (slot->ticket.compare_exchange_strong(expected, kBeingFilled)) {
            return *slot;
        }
    }
    return AppendSlot();
}

PropertyListenerList::Slot& PropertyListenerList::AppendSlot() {
    auto slot = std::make_unique<Slot>();
    slot->ticket.store(kBeingFilled);
    std::atomic<Slot*>* link = &mFirst;
    Slot* next = nullptr;
    while (!link->compare_exchange_strong(next, slot.get())) {
        link = &next->next;
        next = nullptr;
    }
    return *slot.release();
}

} // namespace velnor
