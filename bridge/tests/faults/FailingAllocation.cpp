#include "bridge/tests/faults/FailingAllocation.h"

#include "platform/Types.h"

#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <string_view>

namespace velnor::testing {

namespace {

long sCountdown = 0; // 0: nothing fails
FailedAllocation sFailed = FailedAllocation::kNone;

bool isDue(FailedAllocation by) {
    if (sCountdown == 0 || --sCountdown > 0) {
        return false;
    }
    sFailed = by;
    return true;
}

} // namespace

void failAllocation(long number) {
    sCountdown = number;
    sFailed = FailedAllocation::kNone;
}

FailedAllocation failedAllocation() {
    sCountdown = 0;
    return sFailed;
}

} // namespace velnor::testing

void* operator new(std::size_t size) {
    using namespace velnor::testing;
    void* const block =
        isDue(FailedAllocation::kByNew) ? nullptr : std::malloc(size > 0 ? size : 1);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}
void* operator new[](std::size_t size) {
    return operator new(size);
}

extern "C" {

#if defined(VELNOR_SANITIZED) // the runtimes have a malloc of their own
VELNOR_PLATFORM_API const char* __asan_default_options() {
    return "alloc_dealloc_mismatch=0";
}
#else
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

static bool isDueFor(const void* caller) {
    Dl_info info = {};
    if (velnor::testing::sCountdown == 0 || dladdr(caller, &info) == 0) {
        return false;
    }
    const std::string_view path = info.dli_fname;
    const std::string_view file = path.substr(path.rfind('/') + 1);
    const bool isOurs =
        file == "Velnor" || file.starts_with("libvelnorplatform") || file.starts_with("ld-linux");
    return isOurs && velnor::testing::isDue(velnor::testing::FailedAllocation::kByMalloc);
}

VELNOR_PLATFORM_API void* malloc(std::size_t size) {
    return isDueFor(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}
VELNOR_PLATFORM_API void* calloc(std::size_t count, std::size_t size) {
    return isDueFor(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}
VELNOR_PLATFORM_API void* realloc(void* block, std::size_t size) {
    return isDueFor(__builtin_return_address(0)) ? nullptr : __libc_realloc(block, size);
}
#endif
}
