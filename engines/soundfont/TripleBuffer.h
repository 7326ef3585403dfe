// The latest value of one thread for one other: neither waits, the reader never sees half a value.
#ifndef VELNOR_ENGINES_SOUNDFONT_TRIPLEBUFFER_H
#define VELNOR_ENGINES_SOUNDFONT_TRIPLEBUFFER_H

#include "platform/Facts.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <type_traits>

namespace velnor::soundfont {

template <class Value>
class TripleBuffer {
    static_assert(std::is_trivially_copyable_v<Value>);

public:
    // Thread any, one writer at a time, nonblocking.
    void write(const Value& value) VELNOR_NONBLOCKING {
        mValues[mBack] = value;
        mBack = mMiddle.exchange(mBack | kFresh, std::memory_order_acq_rel) & kIndex;
    }

    // Thread any, one reader at a time, nonblocking. Good until the next read.
    const Value& read() VELNOR_NONBLOCKING {
        if ((mMiddle.load(std::memory_order_relaxed) & kFresh) != 0) {
            mFront = mMiddle.exchange(mFront, std::memory_order_acq_rel) & kIndex;
        }
        return mValues[mFront];
    }

private:
    static constexpr uint32_t kFresh = 4;
    static constexpr uint32_t kIndex = 3;

    std::array<Value, 3> mValues{};
    uint32_t mBack = 0;
    std::atomic<uint32_t> mMiddle{1};
    uint32_t mFront = 2;
};

} // namespace velnor::soundfont

#endif
