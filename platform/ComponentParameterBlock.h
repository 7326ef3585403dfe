// The component parameter block in C++: encoded by the callers of a component, decoded by its
// entry. One word of pointer width stands for each argument, the last argument of the call first.
//
//   a call (UInt32 id, Float32 value, void* data) on lp64:
//     0 u8 flags 0 | 1 u8 paramSize 24 | 2 s16 what | 4 unused | 8 data | 16 value's bits | 24 id
//
// Everything here: thread any, concurrent, nonblocking.
#ifndef VELNOR_PLATFORM_COMPONENTPARAMETERBLOCK_H
#define VELNOR_PLATFORM_COMPONENTPARAMETERBLOCK_H

#include "platform/Components.h"
#include "platform/Facts.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

namespace velnor {

// Integers and enumerations are extended as their own type says, pointers stand as they are, a
// Float32 stands as its bits.
template <typename T>
uintptr_t toParameterWord(T value) VELNOR_NONBLOCKING {
    static_assert(sizeof(T) <= sizeof(uintptr_t), "an argument fits one word");
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<uintptr_t>(value);
    } else if constexpr (std::is_same_v<T, Float32>) {
        UInt32 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    } else {
        static_assert(std::is_integral_v<T> || std::is_enum_v<T>);
        return static_cast<uintptr_t>(value);
    }
}

// The argument that a word stands for; bits above a narrower type's width are cut off.
template <typename T>
T fromParameterWord(uintptr_t word) VELNOR_NONBLOCKING {
    static_assert(sizeof(T) <= sizeof(uintptr_t), "an argument fits one word");
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(word); // NOLINT(performance-no-int-to-ptr): it was a pointer
    } else if constexpr (std::is_same_v<T, Float32>) {
        const UInt32 bits = static_cast<UInt32>(word);
        Float32 value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    } else {
        static_assert(std::is_integral_v<T> || std::is_enum_v<T>);
        return static_cast<T>(word);
    }
}

// A ComponentParameters with room for Count arguments; lives on the caller's stack.
template <std::size_t Count>
struct ComponentParameterBlock {
    UInt8 flags;
    UInt8 paramSize;
    SInt16 what;
    uintptr_t params[Count == 0 ? 1 : Count];

    ComponentParameters* Get() VELNOR_NONBLOCKING {
        return reinterpret_cast<ComponentParameters*>(this);
    }
};

static_assert(offsetof(ComponentParameterBlock<3>, paramSize) == 1);
static_assert(offsetof(ComponentParameterBlock<3>, what) == 2);
static_assert(offsetof(ComponentParameterBlock<3>, params) == sizeof(uintptr_t));

// The block of a call of this selector; arguments in the order of the call, each of exactly the
// type that the selector's declaration gives it.
template <typename... Args>
ComponentParameterBlock<sizeof...(Args)> encode(SInt16 selector, Args... args) VELNOR_NONBLOCKING {
    constexpr std::size_t kBytes = sizeof...(Args) * sizeof(uintptr_t);
    static_assert(kBytes <= std::numeric_limits<UInt8>::max());
    ComponentParameterBlock<sizeof...(Args)> block = {0, static_cast<UInt8>(kBytes), selector, {}};
    [[maybe_unused]] uintptr_t* slot = block.params + sizeof...(Args);
    ((*--slot = toParameterWord(args)), ...);
    return block;
}

// The argument number index, from 0 in the order of the call, of a call of count arguments. The
// block must hold that many: see holdsArguments.
template <typename T>
T argument(const ComponentParameters* params, std::size_t index,
           std::size_t count) VELNOR_NONBLOCKING {
    const uintptr_t* words = params->params;
    return fromParameterWord<T>(words[count - 1 - index]);
}

// Whether the block was made for at least count arguments.
inline bool holdsArguments(const ComponentParameters* params,
                           std::size_t count) VELNOR_NONBLOCKING {
    return params->paramSize >= count * sizeof(uintptr_t);
}

} // namespace velnor

#endif
