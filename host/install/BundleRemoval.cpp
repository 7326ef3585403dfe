#include "host/install/BundleRemoval.h"

#include "host/job/JobError.h"
#include "platform/UniqueFd.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool isOfKind(mode_t mode, EntryKind kind) {
    switch (kind) {
    case EntryKind::kFolder:
        return S_ISDIR(mode);
    case EntryKind::kFile:
        return S_ISREG(mode);
    case EntryKind::kLink:
        return S_ISLNK(mode);
    }
    return false;
}

// The folder of an entry, reached from the bundle without following a link; none when it is gone or
// has become something else.
UniqueFd openFolderOf(int bundle, const fs::path& entry) {
    UniqueFd folder(openat(bundle, ".", kFolderFlags));
    for (const fs::path& name : entry.parent_path()) {
        if (!folder) {
            break;
        }
        folder = UniqueFd(openat(folder.Get(), name.c_str(), kFolderFlags));
    }
    return folder;
}

// 0 or an errno value. What is gone already, is of another kind or holds more is left as it is.
int removeEntry(int bundle, const BundleEntry& entry) {
    const fs::path path = entry.path;
    const UniqueFd folder = openFolderOf(bundle, path);
    const std::string name = path.filename();
    struct stat info = {};
    if (!folder || fstatat(folder.Get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0 ||
        !isOfKind(info.st_mode, entry.kind)) {
        return 0;
    }
    const int flags = entry.kind == EntryKind::kFolder ? AT_REMOVEDIR : 0;
    int result = unlinkat(folder.Get(), name.c_str(), flags);
    if (result != 0 && errno == EACCES && fchmod(folder.Get(), S_IRWXU) == 0) {
        result = unlinkat(folder.Get(), name.c_str(), flags); // it was copied closed
    }
    const bool isLeft = errno == ENOENT || errno == ENOTEMPTY || errno == EEXIST;
    return result == 0 || isLeft ? 0 : errno;
}

bool isGone(const std::string& path) {
    struct stat info = {};
    return lstat(path.c_str(), &info) != 0 && errno == ENOENT;
}

// The folder and the bundle in it; none of a bundle that is gone.
struct Place {
    UniqueFd folder;
    UniqueFd bundle;
};

Place openPlace(const std::string& folder, const std::string& bundleName) {
    const std::string path = folder + "/" + bundleName;
    Place place;
    place.folder.Reset(open(folder.c_str(), kFolderFlags));
    if (place.folder) {
        place.bundle.Reset(openat(place.folder.Get(), bundleName.c_str(), kFolderFlags));
    }
    if (!place.bundle && !isGone(path)) {
        throw JobError(path + ": it, or the folder that it lies in, is no folder of install's any "
                              "more; nothing of it was removed; put the folder back, or move away "
                              "what is there, and uninstall again");
    }
    return place;
}

} // namespace

void requireRemovable(const std::string& folder, const std::string& bundleName) {
    const Place place = openPlace(folder, bundleName);
    if (place.bundle && faccessat(place.folder.Get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        throw JobError(folder + ": " + std::strerror(errno));
    }
}

Removal removeBundle(const std::string& folder, const std::string& bundleName,
                     const std::vector<BundleEntry>& entries) {
    const std::string path = folder + "/" + bundleName;
    const Place place = openPlace(folder, bundleName);
    if (!place.bundle) {
        return Removal::kGone;
    }
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        const int error = removeEntry(place.bundle.Get(), *entry);
        if (error != 0) {
            throw JobError(path + "/" + entry->path + ": " + std::strerror(error));
        }
    }
    if (unlinkat(place.folder.Get(), bundleName.c_str(), AT_REMOVEDIR) == 0) {
        return Removal::kDone;
    }
    if (errno != ENOTEMPTY && errno != EEXIST) {
        throw JobError(path + ": " + std::strerror(errno));
    }
    return Removal::kHoldsMore;
}

} // namespace velnor::host
