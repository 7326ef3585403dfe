#include "support/PathStrings.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr std::size_t kLongestPosixPath = 2047;

void toPosix(std::string_view path, std::string& out) {
    std::string posix(path.substr(0, kLongestPosixPath));
    std::replace(posix.begin(), posix.end(), '\\', '/');
    out = std::move(posix);
}

} // namespace

std::string getPathFromFile(const std::string& path) {
    if (path.empty()) {
        return "";
    }
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string getFileFromPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string stripFileExtension(const std::string& name) {
    return name.substr(0, name.rfind('.'));
}

std::string getFileExtension(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? "" : name.substr(dot + 1);
}

bool pathIsRelative(const std::string& path) {
    return path.empty() || path.front() != '/';
}

void cleanPathName(std::string& name) {
    constexpr std::string_view kReplaced = "\\/*?><|: ";
    std::replace_if(
        name.begin(), name.end(),
        [=](char c) { return kReplaced.find(c) != std::string_view::npos; }, '_');
}

void PToPosix(const char* path, std::string& out) {
    toPosix(path, out);
}

void PToPosix(const std::string& path, std::string& out) {
    toPosix(path, out);
}
