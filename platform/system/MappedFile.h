// Which file is mapped where.
#ifndef VELNOR_PLATFORM_SYSTEM_MAPPEDFILE_H
#define VELNOR_PLATFORM_SYSTEM_MAPPEDFILE_H

#include <cstdint>
#include <optional>
#include <string>

namespace velnor {

// The absolute path of the file that the kernel has mapped at an address of this process; nothing
// when it is no file's.
std::optional<std::string> MappedFilePath(uintptr_t address);

// A path that the kernel shows, without the mark that it puts behind that of a file that is gone.
std::string WithoutDeletedMark(const std::string& path);

} // namespace velnor

#endif
