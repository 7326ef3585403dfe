#include "host/job/InputFile.h"

#include "host/job/JobError.h"
#include "platform/UniqueFd.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace velnor::host {

namespace {

// Standard input stays open: its copy is the caller's.
UniqueFd openInput(const std::string& path) {
    return UniqueFd(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                : open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

} // namespace

std::string shownInput(const std::string& path) {
    return path == "-" ? "standard input" : path.empty() ? "\"\"" : path;
}

std::vector<std::uint8_t> readInputFile(const std::string& path, std::size_t limit) {
    const std::string name = shownInput(path);
    const UniqueFd file = openInput(path);
    if (!file) {
        throw JobError(name + ": " + std::strerror(errno));
    }
    std::vector<std::uint8_t> bytes;
    std::array<std::uint8_t, 1 << 16> piece;
    while (true) {
        const ssize_t count = read(file.Get(), piece.data(), piece.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw JobError(name + ": " + std::strerror(errno));
        }
        if (count == 0) {
            return bytes;
        }
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + count);
        if (bytes.size() > limit) {
            throw JobError(name + ": it is larger than " + std::to_string(limit >> 20) + " MiB");
        }
    }
}

} // namespace velnor::host
