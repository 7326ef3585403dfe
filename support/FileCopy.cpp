#include "support/FileCopy.h"

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/FileCopy.h"
#include "platform/FileRef.h"
#include "support/PathStrings.h"

namespace {

OSStatus resolve(const std::string& path, FSRef& ref) {
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr);
}

// A name without a folder stands in the current directory, one behind a single "/" in the root.
std::string folderOf(const std::string& destination) {
    const std::string folder = getPathFromFile(destination);
    return folder.empty() && !destination.empty() ? "/" : folder;
}

OSStatus copyObject(const std::string& source, const std::string& destination, bool overwrite) {
    FSRef from;
    if (const OSStatus status = resolve(source, from); status != noErr) {
        return status;
    }
    FSRef folder;
    if (const OSStatus status = resolve(folderOf(destination), folder); status != noErr) {
        return status;
    }
    const velnor::CFRef<CFStringRef> name(CFStringCreateWithCString(
        kCFAllocatorDefault, getFileFromPath(destination).c_str(), kCFStringEncodingUTF8));
    if (!name) {
        return bdNamErr;
    }
    return FSCopyObjectSync(&from, &folder, name.Get(), nullptr,
                            overwrite ? kFSFileOperationOverwrite : kFSFileOperationDefaultOptions);
}

} // namespace

int PCopyFile(const std::string& source, const std::string& destination, bool overwrite) {
    switch (copyObject(source, destination, overwrite)) {
    case noErr:
        return kCopyDone;
    case permErr:
    case wrPermErr:
    case dupFNErr:
        return kCopyRefused;
    default:
        return kCopyFailed;
    }
}
