// A file that takes no place on any disk.
#ifndef VELNOR_FUZZ_MEMORYFILE_H
#define VELNOR_FUZZ_MEMORYFILE_H

#include "fuzz/FuzzCheck.h"
#include "platform/UniqueFd.h"

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace velnor::fuzz {

class MemoryFile {
public:
    MemoryFile() = default;
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // The path, behind which the content stands from now on.
    const std::string& holding(std::string_view content) const {
        FUZZ_CHECK(ftruncate(mFile.Get(), 0) == 0);
        FUZZ_CHECK(pwrite(mFile.Get(), content.data(), content.size(), 0) ==
                   static_cast<ssize_t>(content.size()));
        return mPath;
    }

private:
    const UniqueFd mFile{memfd_create("fuzz", 0)};
    const std::string mPath = "/proc/self/fd/" + std::to_string(mFile.Get());
};

} // namespace velnor::fuzz

#endif
