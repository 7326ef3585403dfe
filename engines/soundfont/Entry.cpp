// The engine's one exported function.
#include "bridge/OrmoEngine.h"
#include "engines/soundfont/EngineLog.h"
#include "engines/soundfont/Operations.h"

#include <exception>

using namespace velnor::soundfont;

namespace {

// Foreign code is behind the entry point: no exception may get there.
int32_t operateOrReport(uint32_t opcode, const Slots& slots) noexcept {
    try {
        return operate(opcode, slots);
    } catch (const std::exception& error) {
        logError(error.what());
    } catch (...) {
        logError("an error of an unknown kind");
    }
    return kNotAvailable;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int32_t ormoOpcode(OrmoWord target,
                                                                     OrmoWord opcode, OrmoWord ptr1,
                                                                     OrmoWord ptr2, OrmoWord ptr3,
                                                                     OrmoWord val1, OrmoWord,
                                                                     OrmoWord, OrmoWord) {
    const Slots slots{target, ptr1, ptr2, ptr3, val1};
    if (opcode == kOpProcess) {
        return process(slots);
    }
    return operateOrReport(static_cast<uint32_t>(opcode), slots);
}
