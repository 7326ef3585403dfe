// What a host points its arguments at: blocks of exactly the size that it promises, and objects.
#ifndef VELNOR_FUZZ_HOSTMEMORY_H
#define VELNOR_FUZZ_HOSTMEMORY_H

#include "platform/AudioUnitTypes.h"
#include "platform/CFRef.h"

#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <vector>

namespace velnor::fuzz {

// True one time in count; never once the input is used up.
bool OneIn(FuzzedDataProvider& input, int count);
// Small, next to a limit of its type, or any.
UInt32 Number(FuzzedDataProvider& input, UInt32 small);
Float64 Real(FuzzedDataProvider& input);

// Lives as long as the instrument: some blocks stay in use after the call that passed them.
class HostMemory {
public:
    explicit HostMemory(FuzzedDataProvider& input);

    // Zero-filled. An access past its end is found; an odd one begins at an odd address.
    UInt8* Block(std::size_t size, bool odd = false);
    // A copy of the value, or one time in eight null.
    template <typename T>
    T* ValueOrNull(const T& value = {}) {
        if (OneIn(mInput, 8)) {
            return nullptr;
        }
        UInt8* const block = Block(sizeof value);
        std::memcpy(block, static_cast<const void*>(&value), sizeof value);
        return reinterpret_cast<T*>(block);
    }
    // Strings, other objects, or null; borrowed.
    CFTypeRef Object();
    // Takes over the reference, which may be null, and gives it back.
    CFTypeRef Adopt(CFTypeRef object) {
        mObjects.emplace_back(object);
        return object;
    }
    // count buffers in a list, with memory for all, some or none of them: always for all frames,
    // whatever the byte sizes tell. None for a pull of very many.
    AudioBufferList* BufferList(UInt32 count, UInt32 frames);

private:
    FuzzedDataProvider& mInput;
    std::vector<std::unique_ptr<UInt8[]>> mBlocks;
    std::vector<CFRef<CFTypeRef>> mObjects;
};

} // namespace velnor::fuzz

#endif
