// The queue between the host's MIDI calls and the render: one producer, one consumer, no lock.
#ifndef VELNOR_BRIDGE_MIDIRING_H
#define VELNOR_BRIDGE_MIDIRING_H

#include "bridge/OrmoEngine.h"
#include "platform/Facts.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace velnor {

class MidiRing {
public:
    static constexpr std::int32_t kSlots = 1024;
    // One slot stays free, so that a full ring differs from an empty one.
    static constexpr std::int32_t kCapacity = kSlots - 1;

    // Producer: queues one message for this frame of the next block. False: the ring is full and
    // the message is lost. Concurrent with take; nonblocking.
    bool push(std::uint8_t status, std::uint8_t data1, std::uint8_t data2,
              std::int32_t offset) VELNOR_NONBLOCKING {
        const std::int32_t write = mRingWrite.load(std::memory_order_relaxed);
        const std::int32_t next = (write + 1) % kSlots;
        if (next == mRingRead.load(std::memory_order_acquire)) {
            return false;
        }
        MIDIEvent& slot = mSlots[static_cast<std::size_t>(write)];
        slot.offset = offset;
        slot.reserved2 = 0;
        slot.data[0] = status;
        slot.data[1] = data1;
        slot.data[2] = data2;
        slot.data[3] = 0;
        mRingWrite.store(next, std::memory_order_release);
        return true;
    }

    // Consumer: whether nothing was queued before the call. Concurrent with push; nonblocking.
    bool isEmpty() const VELNOR_NONBLOCKING {
        return mRingRead.load(std::memory_order_relaxed) ==
               mRingWrite.load(std::memory_order_relaxed);
    }

    // Consumer: hands each message that was queued before the call to accept(const MIDIEvent&), in
    // order of arrival, and frees its slot after that. Concurrent with push; nonblocking as accept
    // is.
    template <typename Accept>
    void take(Accept&& accept) VELNOR_NONBLOCKING {
        std::int32_t read = mRingRead.load(std::memory_order_relaxed);
        const std::int32_t write = mRingWrite.load(std::memory_order_acquire);
        while (read != write) {
            accept(mSlots[static_cast<std::size_t>(read)]);
            // A reset meanwhile: both are 0, and what it discarded stays discarded.
            if (mRingRead.load(std::memory_order_relaxed) != read ||
                (read == 0 && mRingWrite.load(std::memory_order_relaxed) == 0)) {
                return;
            }
            read = (read + 1) % kSlots;
            mRingRead.store(read, std::memory_order_release);
        }
    }

    // Discards every queued message. From any thread, not ordered against push and take: one that
    // overlaps may bring discarded messages back or lose new ones. Nonblocking.
    void reset() VELNOR_NONBLOCKING {
        mRingRead.store(0, std::memory_order_release);
        mRingWrite.store(0, std::memory_order_release);
    }

private:
    static constexpr std::size_t kCacheLine = 64;
    static_assert(std::atomic<std::int32_t>::is_always_lock_free);

    // Each side's index on a cache line of its own.
    alignas(kCacheLine) std::atomic<std::int32_t> mRingRead{0};
    alignas(kCacheLine) std::atomic<std::int32_t> mRingWrite{0};
    alignas(kCacheLine) std::array<MIDIEvent, kSlots> mSlots{};
};

} // namespace velnor

#endif
