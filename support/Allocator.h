// Memory through a library user's allocator, or the standard one. Thread any, concurrent as far as
// the user's allocator is, may block.
#ifndef VELNOR_SUPPORT_ALLOCATOR_H
#define VELNOR_SUPPORT_ALLOCATOR_H

namespace velnor {

// What a library user implements. The order of the operations is the order of their table slots,
// which users compiled elsewhere rely on; objects are never deleted through this type.
class Allocator {
public:
    // A block of that many bytes, or null.
    virtual void* Allocate(unsigned long size) = 0;
    // Reserved; never called.
    virtual void* Reallocate(void* block, unsigned long size) = 0;
    virtual void Free(void* block) = 0;

protected:
    ~Allocator() = default;
};

// A zero-filled block, or null without memory; defaultFree gives it back.
void* defaultAlloc(unsigned long size);
void defaultFree(void* p);
// As realloc: bytes past the old size are not cleared.
void* defaultRealloc(void* p, unsigned long size);

// Through a, or the default functions when a is null. A block goes back the way it came.
void* THEALLOC(unsigned long size, Allocator* a);
void THEFREE(void* p, Allocator* a);

} // namespace velnor

#endif
