// What every fuzzer starts with, however it is started: a block that no honest input needs is
// refused instead of taken, so that the ways out of memory are walked too.
#include <sanitizer/asan_interface.h>

extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=64:quarantine_size_mb=32:"
           "malloc_context_size=8";
}

extern "C" const char* __ubsan_default_options() {
    return "print_stacktrace=1";
}
