#include "support/Allocator.h"

#include <cstdlib>

namespace velnor {

void* defaultAlloc(unsigned long size) {
    return std::calloc(size, 1);
}

void defaultFree(void* p) {
    std::free(p);
}

void* defaultRealloc(void* p, unsigned long size) {
    return std::realloc(p, size);
}

void* THEALLOC(unsigned long size, Allocator* a) {
    return a == nullptr ? defaultAlloc(size) : a->Allocate(size);
}

void THEFREE(void* p, Allocator* a) {
    if (a == nullptr) {
        defaultFree(p);
    } else {
        a->Free(p);
    }
}

} // namespace velnor
