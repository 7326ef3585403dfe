// Property lists from hostile bytes: whatever is read must be written again, and read back equal.
#include "fuzz/FuzzCheck.h"
#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"

#include <cstddef>
#include <cstdint>

using velnor::CFRef;

namespace {

CFRef<CFTypeRef> Read(CFDataRef file) {
    return CFRef<CFTypeRef>(CFPropertyListCreateWithData(
        kCFAllocatorDefault, file, kCFPropertyListImmutable, nullptr, nullptr));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const CFIndex alive = PlatformLiveObjectCount();
    {
        const CFRef<CFDataRef> file(
            CFDataCreate(kCFAllocatorDefault, bytes, static_cast<CFIndex>(size)));
        const auto tree = Read(file.Get());
        const bool isForeign = PlatformPropertyListIsForeign(file.Get());
        FUZZ_CHECK(!tree || !isForeign);
        if (tree) {
            const CFRef<CFDataRef> binary(CFPropertyListCreateData(
                kCFAllocatorDefault, tree.Get(), kCFPropertyListBinaryFormat_v1_0, 0, nullptr));
            FUZZ_CHECK(bool(binary));
            const auto again = Read(binary.Get());
            FUZZ_CHECK(again && CFEqual(again.Get(), tree.Get()));
            const CFRef<CFDataRef> xml(CFPropertyListCreateData(
                kCFAllocatorDefault, tree.Get(), kCFPropertyListXMLFormat_v1_0, 0, nullptr));
            FUZZ_CHECK(!xml || Read(xml.Get()));
        }
    }
    FUZZ_CHECK(PlatformLiveObjectCount() == alive);
    return 0;
}
