#include "engines/probe/Probe.h"

#define PROBE_EXPORT extern "C" __attribute__((visibility("default")))

PROBE_EXPORT velnor::probe::Probe* velnorProbe() {
    static velnor::probe::Probe probe;
    return &probe;
}

PROBE_EXPORT std::int32_t ormoOpcode(OrmoWord target, OrmoWord opcode, OrmoWord ptr1, OrmoWord ptr2,
                                     OrmoWord ptr3, OrmoWord val1, OrmoWord val2, OrmoWord val3,
                                     OrmoWord val4) {
    return velnorProbe()->handle({target, opcode, ptr1, ptr2, ptr3, val1, val2, val3, val4});
}
