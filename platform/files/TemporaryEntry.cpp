#include "platform/files/TemporaryEntry.h"

#include "platform/UniqueFd.h"
#include "platform/files/FileSystem.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <utility>

namespace velnor {
namespace {

bool Exists(int folder, const std::string& name) {
    struct stat info;
    return fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT;
}

// A name that no other call, process or machine comes upon.
std::string NewName() {
    std::random_device random;
    char name[48];
    std::snprintf(name, sizeof name, ".velnor-%08x%08x%08x%08x", random(), random(), random(),
                  random());
    return name;
}

// The folder as a stream, made readable and writable before; null when the entry is no folder.
UniqueFolder OpenToEmpty(int folder, const std::string& name) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd opened(openat(folder, name.c_str(), kFlags));
    if (!opened && errno == EACCES) {
        fchmodat(folder, name.c_str(), S_IRWXU, 0);
        opened.Reset(openat(folder, name.c_str(), kFlags));
    }
    if (!opened) {
        return nullptr;
    }
    fchmod(opened.Get(), S_IRWXU);
    UniqueFolder stream(fdopendir(opened.Get()));
    if (stream) {
        [[maybe_unused]] const int handedOver = opened.Detach();
    }
    return stream;
}

} // namespace

void RemoveEntry(int folder, const std::string& name) noexcept {
    if (unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT) {
        return;
    }
    const UniqueFolder stream = OpenToEmpty(folder, name);
    if (!stream) {
        return;
    }
    while (const dirent* entry = readdir(stream.get())) {
        if (!IsDotOrDotDot(entry->d_name)) {
            RemoveEntry(dirfd(stream.get()), entry->d_name);
        }
    }
    unlinkat(folder, name.c_str(), AT_REMOVEDIR);
}

TemporaryEntry::TemporaryEntry(int folder) : mFolder(folder), mName(NewName()) {}

int TemporaryEntry::Commit(const std::string& name, bool replace) {
    return replace ? CommitOver(name) : CommitNew(name);
}

int TemporaryEntry::CommitNew(const std::string& name) {
    if (renameat2(mFolder, mName.c_str(), mFolder, name.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // A file system without that call: the look comes as late as possible.
    if (Exists(mFolder, name)) {
        return EEXIST;
    }
    return renameat(mFolder, mName.c_str(), mFolder, name.c_str()) == 0 ? 0 : errno;
}

int TemporaryEntry::CommitOver(const std::string& name) {
    if (renameat(mFolder, mName.c_str(), mFolder, name.c_str()) == 0) {
        return 0;
    }
    const bool isInTheWay =
        errno == EISDIR || errno == ENOTDIR || errno == ENOTEMPTY || errno == EEXIST;
    if (!isInTheWay) {
        return errno;
    }
    if (renameat2(mFolder, mName.c_str(), mFolder, name.c_str(), RENAME_EXCHANGE) == 0) {
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? SwapThroughSecondName(name) : errno;
}

int TemporaryEntry::SwapThroughSecondName(const std::string& name) {
    const std::string second = NewName();
    if (renameat(mFolder, name.c_str(), mFolder, second.c_str()) != 0) {
        return errno;
    }
    if (renameat(mFolder, mName.c_str(), mFolder, name.c_str()) != 0) {
        const int error = errno;
        renameat(mFolder, second.c_str(), mFolder, name.c_str());
        return error;
    }
    mName = second;
    return 0;
}

} // namespace velnor
