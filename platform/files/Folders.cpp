#include "platform/Folders.h"

#include "platform/files/FileSystem.h"
#include "platform/files/UserDirectories.h"
#include "platform/files/XdgFolders.h"

namespace velnor {
namespace {

std::optional<std::string> PathOfFolder(OSType type) {
    switch (type) {
    case kApplicationSupportFolderType:
        return DataHomeFolder();
    case kDesktopFolderType:
        return DesktopFolder();
    default:
        return std::nullopt;
    }
}

} // namespace
} // namespace velnor

OSErr FSFindFolder(SInt16 domain, OSType type, Boolean createFolder, FSRef* ref) {
    if (domain != kUserDomain || createFolder || ref == nullptr) {
        return paramErr;
    }
    const auto path = velnor::PathOfFolder(type);
    if (!path) {
        return fnfErr;
    }
    FSRef found;
    Boolean isFolder = false;
    const OSStatus status =
        FSPathMakeRef(reinterpret_cast<const UInt8*>(path->c_str()), &found, &isFolder);
    if (status != noErr) {
        return status == dirNFErr ? static_cast<OSErr>(fnfErr) : static_cast<OSErr>(status);
    }
    if (!isFolder) {
        return fnfErr;
    }
    *ref = found;
    return noErr;
}

OSErr PlatformNameDataHome(FSRef* ref) {
    if (ref == nullptr) {
        return paramErr;
    }
    const auto path = velnor::DataHomeFolder();
    if (!path) {
        return fnfErr;
    }
    return velnor::AssignPath(*ref, *path) ? noErr : bdNamErr;
}

OSErr PlatformNameDataFolder(UInt32 index, FSRef* ref) {
    if (ref == nullptr) {
        return paramErr;
    }
    const auto folders = velnor::DataFolders();
    if (index >= folders.size()) {
        return fnfErr;
    }
    return velnor::AssignPath(*ref, folders[index]) ? noErr : bdNamErr;
}
