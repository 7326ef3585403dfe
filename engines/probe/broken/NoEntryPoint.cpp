#include "bridge/OrmoEngine.h"

// Almost the name that the plug-in looks for.
extern "C" __attribute__((visibility("default"))) int32_t ormoOpcodes(OrmoWord, OrmoWord) {
    return 0;
}
