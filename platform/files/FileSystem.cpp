#include "platform/files/FileSystem.h"

#include "platform/UniqueFd.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace velnor {
namespace {

constexpr std::size_t kMaximumNameBytes = 255;
constexpr int kMostLinks = 40;

struct MallocDeleter {
    void operator()(char* text) const noexcept { std::free(text); }
};

std::optional<std::string> ReadAll(int fd, std::size_t limit) {
    std::string content;
    char buffer[16384];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got == 0) {
            return content;
        }
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0 || content.size() + static_cast<std::size_t>(got) > limit) {
            return std::nullopt;
        }
        content.append(buffer, static_cast<std::size_t>(got));
    }
}

} // namespace

OSErr StatusOfErrno(int error) {
    switch (error) {
    case 0:
        return noErr;
    case ENOENT:
        return fnfErr;
    case ENOTDIR:
        return dirNFErr;
    case EACCES:
    case EPERM:
        return permErr;
    case EROFS:
        return wrPermErr;
    case ENAMETOOLONG:
    case EILSEQ:
        return bdNamErr;
    case EEXIST:
        return dupFNErr;
    case ENOSPC:
    case EDQUOT:
        return dskFulErr;
    case ENOMEM:
        return memFullErr;
    default:
        return ioErr;
    }
}

OSErr WriteStatusOfErrno(int error) {
    const OSErr status = StatusOfErrno(error);
    return status == permErr ? static_cast<OSErr>(wrPermErr) : status;
}

std::optional<std::string> FollowLinks(std::string path) {
    for (int i = 0; i < kMostLinks; ++i) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0) {
            return path;
        }
        const std::string next(target, static_cast<std::size_t>(length));
        if (next.starts_with('/')) {
            path = next;
        } else {
            path.erase(path.rfind('/') + 1).append(next);
        }
    }
    return std::nullopt;
}

std::string FolderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

int WriteAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

bool IsEntryName(std::string_view name) {
    return !name.empty() && name.size() <= kMaximumNameBytes && !IsDotOrDotDot(name) &&
           name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

bool AssignPath(FSRef& ref, std::string_view path) {
    if (path.size() >= sizeof ref.path) {
        return false;
    }
    std::memcpy(ref.path, path.data(), path.size());
    std::memset(ref.path + path.size(), 0, sizeof ref.path - path.size());
    return true;
}

OSErr MakeChildRef(const FSRef& folder, std::string_view name, FSRef& child) {
    if (!IsEntryName(name)) {
        return bdNamErr;
    }
    std::string path = folder.path;
    if (path.empty() || path.back() != '/') {
        path += '/';
    }
    path += name;
    return AssignPath(child, path) ? noErr : bdNamErr;
}

bool IsFolder(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::optional<std::string> CanonicalPath(const std::string& path) {
    const std::unique_ptr<char, MallocDeleter> resolved(realpath(path.c_str(), nullptr));
    return resolved ? std::optional<std::string>(resolved.get()) : std::nullopt;
}

std::optional<std::string> ReadRegularFile(const std::string& path, std::size_t limit) {
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info;
    if (!file || fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    return ReadAll(file.Get(), limit);
}

} // namespace velnor
