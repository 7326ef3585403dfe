#include "platform/FileCopy.h"

#include "platform/UniqueFd.h"
#include "platform/files/EntryCopy.h"
#include "platform/files/FileSystem.h"
#include "platform/files/TemporaryEntry.h"
#include "platform/values/CFStringObject.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor {
namespace {

bool EntryExists(int folder, const std::string& name) {
    struct stat info;
    return fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
}

// True when the first object is the second one or lies below it.
bool LiesWithin(const FSRef& object, const FSRef& folder) {
    const auto inner = CanonicalPath(object.path);
    const auto outer = CanonicalPath(folder.path);
    return inner && outer && (*inner + "/").starts_with(*outer == "/" ? *outer : *outer + "/");
}

bool IsRealFolder(const FSRef& object) {
    struct stat info;
    return lstat(object.path, &info) == 0 && S_ISDIR(info.st_mode);
}

// True when the copy would hold itself or take the place of a folder that holds the source.
bool IsTangled(const FSRef& source, const FSRef& folder, const FSRef& target) {
    return (IsRealFolder(source) && LiesWithin(folder, source)) ||
           (IsRealFolder(target) && LiesWithin(source, target) && !LiesWithin(target, source));
}

// Copies the object to the name in the open folder.
OSErr CopyTo(const FSRef& source, int folder, const std::string& name, bool overwrite) {
    if (!overwrite && EntryExists(folder, name)) {
        return dupFNErr;
    }
    TemporaryEntry copy(folder);
    const OSErr status = CopyEntry(AT_FDCWD, source.path, folder, copy.Name());
    if (status != noErr) {
        return status;
    }
    const int error = copy.Commit(name, overwrite);
    fsync(folder); // not every file system can
    return WriteStatusOfErrno(error);
}

std::string NameFor(const FSRef& source, CFStringRef name) {
    if (name != nullptr) {
        return TextOf(name);
    }
    const std::string path = source.path;
    return path.substr(path.rfind('/') + 1);
}

} // namespace
} // namespace velnor

OSStatus FSCopyObjectSync(const FSRef* source, const FSRef* folder, CFStringRef name, FSRef* target,
                          UInt32 options) {
    if (source == nullptr || folder == nullptr) {
        return paramErr;
    }
    const std::string targetName = velnor::NameFor(*source, name);
    FSRef made;
    OSErr status = velnor::MakeChildRef(*folder, targetName, made);
    if (status != noErr) {
        return status;
    }
    const velnor::UniqueFd opened(open(folder->path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) {
        return errno == ENOENT ? static_cast<OSErr>(dirNFErr) : velnor::StatusOfErrno(errno);
    }
    if (velnor::IsTangled(*source, *folder, made)) {
        return paramErr;
    }
    status = velnor::CopyTo(*source, opened.Get(), targetName,
                            (options & kFSFileOperationOverwrite) != 0);
    if (status == noErr && target != nullptr) {
        *target = made;
    }
    return status;
}
