#include "platform/system/MappedFile.h"

#include <charconv>
#include <fstream>
#include <string_view>
#include <sys/stat.h>

namespace velnor {
namespace {

// A line of /proc/self/maps, "start-end perms offset device inode   path", and the path where the
// line's range holds the address.
std::optional<std::string> PathOfLine(const std::string& line, uintptr_t address) {
    const char* const end = line.data() + line.size();
    uintptr_t first = 0;
    uintptr_t last = 0;
    const auto start = std::from_chars(line.data(), end, first, 16);
    if (start.ptr == end || *start.ptr != '-') {
        return std::nullopt;
    }
    std::from_chars(start.ptr + 1, end, last, 16);
    const auto path = line.find('/');
    if (address < first || address >= last || path == std::string::npos) {
        return std::nullopt;
    }
    return WithoutDeletedMark(line.substr(path));
}

} // namespace

std::optional<std::string> MappedFilePath(uintptr_t address) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (auto path = PathOfLine(line, address)) {
            return path;
        }
    }
    return std::nullopt;
}

std::string WithoutDeletedMark(const std::string& path) {
    constexpr std::string_view kMark = " (deleted)";
    struct stat info;
    const bool isMarked = path.ends_with(kMark) && lstat(path.c_str(), &info) != 0;
    return isMarked ? path.substr(0, path.size() - kMark.size()) : path;
}

} // namespace velnor
