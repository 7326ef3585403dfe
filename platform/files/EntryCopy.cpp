#include "platform/files/EntryCopy.h"

#include "platform/UniqueFd.h"
#include "platform/files/FileSystem.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace velnor {
namespace {

constexpr std::size_t kBlockSize = std::size_t{1} << 17;
constexpr mode_t kPermissionBits = S_IRWXU | S_IRWXG | S_IRWXO;

// One entry and the place of its copy.
struct Task {
    int source;
    const std::string& sourceName;
    int target;
    const std::string& targetName;
};

OSErr CopyBytes(int from, int to) {
    std::vector<char> block(kBlockSize);
    for (;;) {
        const ssize_t got = read(from, block.data(), block.size());
        if (got == 0) {
            return noErr;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return StatusOfErrno(errno);
        }
        const OSErr status =
            WriteStatusOfErrno(WriteAll(to, {block.data(), static_cast<std::size_t>(got)}));
        if (status != noErr) {
            return status;
        }
    }
}

OSErr CopyAttributes(const struct stat& from, int to) {
    const timespec times[2] = {from.st_atim, from.st_mtim};
    const bool done = fchmod(to, from.st_mode & kPermissionBits) == 0 && futimens(to, times) == 0;
    return WriteStatusOfErrno(done ? 0 : errno);
}

OSErr CopyFile(const Task& task) {
    // O_NONBLOCK: the entry may have become a pipe since it was looked at.
    const UniqueFd from(openat(task.source, task.sourceName.c_str(),
                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info;
    if (!from || fstat(from.Get(), &info) != 0) {
        return StatusOfErrno(errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return ioErr;
    }
    UniqueFd to(openat(task.target, task.targetName.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!to) {
        return WriteStatusOfErrno(errno);
    }
    OSErr status = CopyBytes(from.Get(), to.Get());
    if (status == noErr) {
        status = CopyAttributes(info, to.Get());
    }
    if (status == noErr && (fsync(to.Get()) != 0 || !to.Close())) {
        status = WriteStatusOfErrno(errno);
    }
    return status;
}

OSErr CopyLink(const Task& task) {
    char content[PATH_MAX];
    const ssize_t length =
        readlinkat(task.source, task.sourceName.c_str(), content, sizeof content - 1);
    if (length < 0) {
        return StatusOfErrno(errno);
    }
    content[length] = '\0';
    const bool made = symlinkat(content, task.target, task.targetName.c_str()) == 0;
    return WriteStatusOfErrno(made ? 0 : errno);
}

OSErr CopyChildren(DIR* from, int to) {
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(from);
        if (entry == nullptr) {
            return StatusOfErrno(errno);
        }
        const std::string name = entry->d_name;
        if (IsDotOrDotDot(name)) {
            continue;
        }
        const OSErr status = CopyEntry(dirfd(from), name, to, name);
        if (status != noErr) {
            return status;
        }
    }
}

OSErr CopyFolder(const Task& task) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd opened(openat(task.source, task.sourceName.c_str(), kFlags));
    struct stat info;
    if (!opened || fstat(opened.Get(), &info) != 0) {
        return StatusOfErrno(errno);
    }
    const UniqueFolder from(fdopendir(opened.Get()));
    if (!from) {
        return StatusOfErrno(errno);
    }
    [[maybe_unused]] const int handedOver = opened.Detach();
    if (mkdirat(task.target, task.targetName.c_str(), S_IRWXU) != 0) {
        return WriteStatusOfErrno(errno);
    }
    const UniqueFd to(openat(task.target, task.targetName.c_str(), kFlags));
    if (!to) {
        return WriteStatusOfErrno(errno);
    }
    OSErr status = CopyChildren(from.get(), to.Get());
    if (status == noErr) {
        status = CopyAttributes(info, to.Get());
    }
    fsync(to.Get()); // not every file system can
    return status;
}

} // namespace

OSErr CopyEntry(int source, const std::string& sourceName, int target,
                const std::string& targetName) {
    const Task task{source, sourceName, target, targetName};
    struct stat info;
    if (fstatat(source, sourceName.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return StatusOfErrno(errno);
    }
    switch (info.st_mode & S_IFMT) {
    case S_IFREG:
        return CopyFile(task);
    case S_IFLNK:
        return CopyLink(task);
    case S_IFDIR:
        return CopyFolder(task);
    default:
        return ioErr;
    }
}

} // namespace velnor
