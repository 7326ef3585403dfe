// Handles of 32 bits for objects of 64-bit addresses: a handle is a table index and a generation,
// never a piece of an address, so a handle that was never given out or is closed finds nothing.
#ifndef VELNOR_ENGINES_SOUNDFONT_HANDLETABLE_H
#define VELNOR_ENGINES_SOUNDFONT_HANDLETABLE_H

#include "platform/Facts.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace velnor::soundfont {

template <class Object, uint32_t kSlots>
class HandleTable {
    // Of a cache line each: threads that render different objects do not slow each other down.
    struct alignas(64) Slot {
        std::atomic<uint32_t> handle{0}; // 0 while the slot is free
        std::atomic<uint32_t> users{0};
        std::unique_ptr<Object> object;
        uint32_t generation = 0;
    };

public:
    // Keeps an object from being closed while a call works on it. False when there is none.
    class Pin {
    public:
        Pin(Slot& slot, uint32_t handle) VELNOR_NONBLOCKING : mSlot(slot) {
            mSlot.users.fetch_add(1);
            mFound = handle != 0 && mSlot.handle.load() == handle;
        }
        ~Pin() VELNOR_NONBLOCKING { mSlot.users.fetch_sub(1); }
        Pin(const Pin&) = delete;
        Pin& operator=(const Pin&) = delete;
        explicit operator bool() const VELNOR_NONBLOCKING { return mFound; }
        Object* operator->() const VELNOR_NONBLOCKING { return mSlot.object.get(); }

    private:
        Slot& mSlot;
        bool mFound;
    };

    // Thread any, concurrent, nonblocking.
    Pin pin(uint32_t handle) VELNOR_NONBLOCKING { return Pin(mSlots[handle % kSlots], handle); }

    // 0 when the table is full. Thread any, concurrent, may block.
    uint32_t insert(std::unique_ptr<Object> object) {
        std::lock_guard lock(mMutex);
        for (uint32_t index = 0; index < kSlots; ++index) {
            Slot& slot = mSlots[index];
            if (slot.handle.load() != 0 || slot.object) {
                continue;
            }
            slot.generation = slot.generation % kGenerations + 1;
            slot.object = std::move(object);
            slot.handle.store(slot.generation * kSlots + index);
            return slot.handle.load();
        }
        return 0;
    }

    // Waits for the calls that are at work on the object, then destroys it. False when there is
    // none. Thread any, concurrent, may block.
    bool remove(uint32_t handle) {
        std::lock_guard lock(mMutex);
        Slot& slot = mSlots[handle % kSlots];
        if (handle == 0 || slot.handle.load() != handle) {
            return false;
        }
        slot.handle.store(0);
        while (slot.users.load() != 0) {
            std::this_thread::yield();
        }
        slot.object.reset();
        return true;
    }

private:
    static constexpr uint32_t kGenerations = UINT32_MAX / kSlots - 1;

    std::array<Slot, kSlots> mSlots;
    std::mutex mMutex;
};

} // namespace velnor::soundfont

#endif
