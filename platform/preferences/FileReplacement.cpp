#include "platform/preferences/FileReplacement.h"

#include "platform/UniqueFd.h"
#include "platform/files/FileSystem.h"
#include "platform/files/FolderMaking.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace velnor {
namespace {

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr std::size_t kLongestKeptName = 240; // of the 255 bytes that a name may have
constexpr int kMostKeptFiles = 9999;

// The new file looks like the old one.
bool TakeAttributes(int fd, const std::string& path, mode_t mode) {
    struct stat old;
    const bool replaces = stat(path.c_str(), &old) == 0;
    return TakeOwner(fd, replaces ? path : FolderOf(path)) &&
           fchmod(fd, replaces ? old.st_mode & kPermissions : mode) == 0;
}

void FlushFolder(const std::string& folder) {
    const UniqueFd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd) {
        fsync(fd.Get());
    }
}

bool SameFile(const std::string& a, const std::string& b) {
    struct stat first;
    struct stat second;
    return lstat(a.c_str(), &first) == 0 && lstat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

// A second name where the file system has them, else a new one. Gives 0 or what errno says.
int GiveName(const std::string& path, const std::string& name) {
    if (link(path.c_str(), name.c_str()) == 0) {
        return 0;
    }
    const int error = errno;
    if (error == EEXIST) {
        return SameFile(path, name) ? 0 : EEXIST;
    }
    if (error != EPERM && error != EOPNOTSUPP && error != EMLINK && error != ENOSYS) {
        return error;
    }
    struct stat info;
    if (lstat(name.c_str(), &info) == 0) {
        return EEXIST;
    }
    return rename(path.c_str(), name.c_str()) == 0 ? 0 : errno;
}

} // namespace

std::optional<struct stat> ReplaceFile(const std::string& path, std::string_view content,
                                       mode_t mode) {
    const std::string folder = FolderOf(path);
    const std::string fresh = folder + "/.velnor-preferences.new";
    unlink(fresh.c_str()); // left by a writer that was killed
    UniqueFd fd(open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                     S_IRUSR | S_IWUSR));
    if (!fd) {
        return std::nullopt;
    }
    struct stat info;
    if (!TakeAttributes(fd.Get(), path, mode) || WriteAll(fd.Get(), content) != 0 ||
        fsync(fd.Get()) != 0 || rename(fresh.c_str(), path.c_str()) != 0 ||
        fstat(fd.Get(), &info) != 0) {
        unlink(fresh.c_str());
        return std::nullopt;
    }
    FlushFolder(folder);
    return info;
}

bool KeepUnderOtherName(const std::string& path) {
    const std::string folder = FolderOf(path);
    const std::string stem =
        folder + "/" + path.substr(folder.size() + 1, kLongestKeptName) + ".damaged";
    for (int number = 1; number <= kMostKeptFiles; ++number) {
        const std::string name = number == 1 ? stem : stem + "-" + std::to_string(number);
        const int error = GiveName(path, name);
        if (error == 0) {
            FlushFolder(folder);
        }
        if (error != EEXIST) {
            return error == 0;
        }
    }
    return false;
}

} // namespace velnor
