// One read and one parse of a property-list file: the least that listing a registry, or opening an
// instrument, has to do with it.
#ifndef VELNOR_BENCH_READANDPARSE_H
#define VELNOR_BENCH_READANDPARSE_H

#include "platform/CFData.h"
#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"
#include "testing/TempFolder.h"

#include <string>

namespace velnor::bench {

// False when the file is none.
inline bool readAndParse(const std::string& path) {
    const std::string text = testing::ReadFile(path);
    const CFRef<CFDataRef> data(CFDataCreate(kCFAllocatorDefault,
                                             reinterpret_cast<const UInt8*>(text.data()),
                                             static_cast<CFIndex>(text.size())));
    const CFRef<CFPropertyListRef> tree(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    return static_cast<bool>(tree);
}

} // namespace velnor::bench

#endif
