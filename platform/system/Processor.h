// Facts about the processors.
#ifndef VELNOR_PLATFORM_SYSTEM_PROCESSOR_H
#define VELNOR_PLATFORM_SYSTEM_PROCESSOR_H

#include "platform/Types.h"

#include <optional>
#include <string_view>

namespace velnor {

// The nominal clock in Hz where the kernel knows it, else the highest one, else the present one.
std::optional<UInt64> ProcessorClock();

// Processors that are switched on; at least 1.
SInt32 ActiveProcessors();

// Whether the first processor has an instruction set: "mmx", "sse", "sse2" or "sse3"; nothing for
// any other name.
std::optional<bool> HasInstructionSet(std::string_view name);

} // namespace velnor

#endif
