#include "fuzz/HostMemory.h"

#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFNumber.h"
#include "platform/CFString.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <limits>
#include <string>

namespace velnor::fuzz {

namespace {

constexpr UInt32 kMostBufferBytes = 1U << 16;

CFTypeRef MakeString(const std::string& text) {
    return CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8);
}

} // namespace

HostMemory::HostMemory(FuzzedDataProvider& input) : mInput(input) {
    const SInt32 number = 7;
    mObjects.resize(6);
    mObjects[0].Reset(MakeString("name"));
    mObjects[1].Reset(MakeString(""));
    mObjects[2].Reset(MakeString(std::string(300, 'x') + "\xC3\xA9"));
    mObjects[3].Reset(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &number));
    mObjects[4].Reset(CFDataCreate(kCFAllocatorDefault, nullptr, 0));
    mObjects[5].Reset(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

UInt8* HostMemory::Block(std::size_t size, bool odd) {
    mBlocks.push_back(std::make_unique<UInt8[]>(size + (odd ? 1 : 0)));
    return mBlocks.back().get() + (odd ? 1 : 0);
}

CFTypeRef HostMemory::Object() {
    const auto index = mInput.ConsumeIntegralInRange<std::size_t>(0, mObjects.size());
    return index < mObjects.size() ? mObjects[index].Get() : nullptr;
}

AudioBufferList* HostMemory::BufferList(UInt32 count, UInt32 frames) {
    const std::size_t size = offsetof(AudioBufferList, mBuffers) + count * sizeof(AudioBuffer);
    auto* const list = reinterpret_cast<AudioBufferList*>(Block(size));
    list->mNumberBuffers = count;
    const int kind = mInput.ConsumeIntegralInRange<int>(0, 3);
    const bool isTooLong = frames > kMostBufferBytes / 4;
    const UInt32 exact = isTooLong ? kMostBufferBytes : frames * 4;
    for (UInt32 i = 0; i < count; ++i) {
        const bool hasMemory = !isTooLong && (kind < 2 || (kind == 2 && mInput.ConsumeBool()));
        UInt32 bytes = exact;
        if (OneIn(mInput, 8)) {
            bytes = hasMemory ? exact - std::min(exact, mInput.ConsumeIntegralInRange(1U, 32U))
                              : Number(mInput, 4096);
        }
        list->mBuffers[i] = {mInput.ConsumeIntegral<UInt8>(), bytes,
                             hasMemory ? Block(exact) : nullptr};
    }
    return list;
}

bool OneIn(FuzzedDataProvider& input, int count) {
    return input.ConsumeIntegralInRange(1, count) == count;
}

UInt32 Number(FuzzedDataProvider& input, UInt32 small) {
    constexpr UInt32 kHighest = std::numeric_limits<UInt32>::max();
    constexpr UInt32 kEdges[] = {kHighest, kHighest / 2, kHighest / 2 + 1, 0x10000, 0xFFFF};
    if (OneIn(input, 16)) {
        return input.PickValueInArray(kEdges);
    }
    return OneIn(input, 16) ? input.ConsumeIntegral<UInt32>()
                            : input.ConsumeIntegralInRange(0U, small);
}

Float64 Real(FuzzedDataProvider& input) {
    using Limits = std::numeric_limits<Float64>;
    constexpr Float64 kValues[] = {0,
                                   -0.0,
                                   44100,
                                   48000,
                                   96000,
                                   22050.5,
                                   -1,
                                   1e-300,
                                   1e300,
                                   4294967296.0,
                                   Limits::quiet_NaN(),
                                   Limits::infinity(),
                                   -Limits::infinity(),
                                   Limits::denorm_min()};
    return OneIn(input, 8) ? std::bit_cast<Float64>(input.ConsumeIntegral<UInt64>())
                           : input.PickValueInArray(kValues);
}

} // namespace velnor::fuzz
