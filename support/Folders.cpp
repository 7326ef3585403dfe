#include "support/Folders.h"

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/FileRef.h"
#include "platform/Folders.h"
#include "platform/Process.h"

#include <vector>

namespace {

using velnor::CFRef;

constexpr std::size_t kLongestFolderName = 255; // UTF-16 units
constexpr UInt32 kPathBufferSize = 1024;
constexpr CFIndex kNameBufferSize = 1024;
constexpr int kCreatesNothing = 2;

std::string pathOf(const FSRef& ref) {
    UInt8 path[kPathBufferSize];
    if (FSRefMakePath(&ref, path, kPathBufferSize) != noErr) {
        return "";
    }
    return reinterpret_cast<const char*>(path);
}

std::string wellKnownFolder(OSType type) {
    FSRef ref;
    return FSFindFolder(kUserDomain, type, false, &ref) == noErr ? pathOf(ref) : "";
}

std::string textOf(CFStringRef text, CFIndex bufferSize) {
    std::vector<char> buffer(static_cast<std::size_t>(bufferSize));
    if (text == nullptr ||
        !CFStringGetCString(text, buffer.data(), bufferSize, kCFStringEncodingUTF8)) {
        return "";
    }
    return buffer.data();
}

// False for a name that folders here cannot have.
bool toFolderName(const std::string& name, std::vector<UniChar>& units) {
    if (name.empty() || name.size() > kLongestFolderName) {
        return false;
    }
    for (const char c : name) {
        if (static_cast<unsigned char>(c) > 0x7F) {
            return false;
        }
    }
    units.assign(name.begin(), name.end());
    return true;
}

// Replaces folder by its child of that name, made when it is not there. Another process may make it
// first: so the last look-up decides, not the result of making it.
bool enterFolder(FSRef& folder, const std::string& name) {
    std::vector<UniChar> units;
    if (!toFolderName(name, units)) {
        return false;
    }
    const auto length = static_cast<UniCharCount>(units.size());
    const auto lookUp = [&](FSRef& child) {
        return FSMakeFSRefUnicode(&folder, length, units.data(), kTextEncodingUnknown, &child) ==
               noErr;
    };
    FSRef child;
    if (!lookUp(child)) {
        FSCreateDirectoryUnicode(&folder, length, units.data(), 0, nullptr, nullptr, nullptr,
                                 nullptr);
        if (!lookUp(child)) {
            return false;
        }
    }
    folder = child;
    return true;
}

} // namespace

std::string setUserPathVendorProduct(const std::string& vendor, const std::string& product) {
    FSRef folder;
    if (FSFindFolder(kUserDomain, kApplicationSupportFolderType, false, &folder) != noErr) {
        return "";
    }
    std::vector<UniChar> units;
    if (!toFolderName(product, units) || !enterFolder(folder, vendor) ||
        !enterFolder(folder, product)) {
        return "";
    }
    return pathOf(folder);
}

std::string getUserPath() {
    return wellKnownFolder(kApplicationSupportFolderType);
}

std::string getUserDesktop() {
    return wellKnownFolder(kDesktopFolderType);
}

std::string getUserName() {
    const CFRef<CFStringRef> name(CSCopyUserName(true));
    return textOf(name.Get(), kNameBufferSize);
}

std::string getTempDir() {
    static const std::string folder = "/tmp";
    return folder;
}

std::string PGetCurrentApplicationPath(void*) {
    const ProcessSerialNumber self = {0, kCurrentProcess};
    CFRef<CFStringRef> name;
    if (CopyProcessName(&self, name.Out()) != noErr || !name) {
        return "";
    }
    return textOf(name.Get(), CFStringGetLength(name.Get()) * 2 + 1);
}

int PCreateDir(const std::string&) {
    return kCreatesNothing;
}
