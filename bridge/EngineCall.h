// One call of an engine's entry point, the operands put into their slots.
#ifndef VELNOR_BRIDGE_ENGINECALL_H
#define VELNOR_BRIDGE_ENGINECALL_H

#include "bridge/OrmoEngine.h"
#include "platform/Facts.h"
#include "platform/RealtimeUnwinding.h"

#include <cstdint>
#include <type_traits>

namespace velnor {

// An operand as a slot carries it.
template <typename T>
OrmoWord engineWord(T operand) VELNOR_NONBLOCKING {
    static_assert(sizeof(T) <= sizeof(OrmoWord));
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<OrmoWord>(operand);
    } else {
        return static_cast<OrmoWord>(operand);
    }
}

// target is 0, an engine handle or an editor handle. What thread the call is for and whether it may
// block, the opcode says.
template <typename Ptr1 = int, typename Ptr2 = int, typename Ptr3 = int, typename Val1 = int,
          typename Val2 = int>
std::int32_t callEngine(OrmoOpcodeProc entry, std::uint32_t target, OrmoOpcode opcode,
                        Ptr1 ptr1 = 0, Ptr2 ptr2 = 0, Ptr3 ptr3 = 0, Val1 val1 = 0,
                        Val2 val2 = 0) VELNOR_NONBLOCKING {
    std::int32_t result = 0;
    VELNOR_RT_ESCAPE("the engine's own code, whose contract says which calls must not block",
                     [[maybe_unused]] const RealtimeThrower thrower;
                     result = entry(engineWord(target), engineWord(opcode), engineWord(ptr1),
                                    engineWord(ptr2), engineWord(ptr3), engineWord(val1),
                                    engineWord(val2), 0, 0));
    return result;
}

} // namespace velnor

#endif
