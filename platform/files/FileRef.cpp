#include "platform/FileRef.h"

#include "platform/files/FileSystem.h"
#include "platform/values/Unicode.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace velnor {
namespace {

constexpr UniCharCount kMaximumNameUnits = 255;

// The part before the last "/", as a path that can be looked up.
std::string FolderPart(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

OSErr StatusOfFailedLookup(int error, const std::string& path) {
    const bool folderIsMissing = error == ENOENT && !path.empty() && !IsFolder(FolderPart(path));
    return folderIsMissing ? static_cast<OSErr>(dirNFErr) : StatusOfErrno(error);
}

std::optional<std::string> NameOfUnits(const UniChar* units, std::size_t count) {
    std::string name;
    for (std::size_t i = 0; i < count;) {
        const auto next = DecodeUtf16(units + i, count - i);
        if (!next) {
            return std::nullopt;
        }
        AppendUtf8(name, next->scalar);
        i += next->length;
    }
    return name;
}

OSErr MakeChildRefOfUnits(const FSRef* parent, UniCharCount length, const UniChar* name,
                          FSRef& child) {
    if (parent == nullptr || name == nullptr) {
        return paramErr;
    }
    if (length > kMaximumNameUnits) {
        return bdNamErr;
    }
    const auto text = NameOfUnits(name, length);
    return text ? MakeChildRef(*parent, *text, child) : static_cast<OSErr>(bdNamErr);
}

} // namespace
} // namespace velnor

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
    if (path == nullptr || ref == nullptr) {
        return paramErr;
    }
    const std::string text(reinterpret_cast<const char*>(path));
    if (text.size() >= sizeof ref->path) {
        return bdNamErr;
    }
    const auto resolved = velnor::CanonicalPath(text);
    if (!resolved) {
        return velnor::StatusOfFailedLookup(errno, text);
    }
    if (!velnor::AssignPath(*ref, *resolved)) {
        return bdNamErr;
    }
    if (isDirectory != nullptr) {
        *isDirectory = velnor::IsFolder(*resolved);
    }
    return noErr;
}

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 size) {
    if (ref == nullptr || path == nullptr) {
        return paramErr;
    }
    const std::size_t needed = std::strlen(ref->path) + 1;
    if (needed > size) {
        return bdNamErr;
    }
    std::memcpy(path, ref->path, needed);
    return noErr;
}

OSErr FSMakeFSRefUnicode(const FSRef* parent, UniCharCount length, const UniChar* name,
                         TextEncoding, FSRef* ref) {
    if (ref == nullptr) {
        return paramErr;
    }
    FSRef child;
    const OSErr status = velnor::MakeChildRefOfUnits(parent, length, name, child);
    if (status != noErr) {
        return status;
    }
    struct stat info;
    if (lstat(child.path, &info) != 0) {
        return velnor::StatusOfFailedLookup(errno, child.path);
    }
    *ref = child;
    return noErr;
}

OSErr FSCreateDirectoryUnicode(const FSRef* parent, UniCharCount length, const UniChar* name,
                               UInt32, const void* info, FSRef* ref, void* spec, UInt32* newDirID) {
    if (info != nullptr || spec != nullptr) {
        return paramErr;
    }
    FSRef child;
    const OSErr status = velnor::MakeChildRefOfUnits(parent, length, name, child);
    if (status != noErr) {
        return status;
    }
    if (mkdir(child.path, 0777) != 0) {
        return velnor::StatusOfFailedLookup(errno, child.path);
    }
    if (ref != nullptr) {
        *ref = child;
    }
    struct stat made;
    if (newDirID != nullptr) {
        *newDirID = lstat(child.path, &made) == 0 ? static_cast<UInt32>(made.st_ino) : 0;
    }
    return noErr;
}
