#include "support/Files.h"

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/CFURL.h"
#include "platform/FileRef.h"
#include "support/DateText.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using velnor::CFRef;

constexpr CFIndex kTextBufferSize = 2048;

CFRef<CFStringRef> systemText(const std::string& text) {
    return CFRef<CFStringRef>(
        CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), CFStringGetSystemEncoding()));
}

bool resolvesAsUrl(const std::string& path, bool isDirectory) {
    const CFRef<CFStringRef> text = systemText(path);
    if (!text) {
        return false;
    }
    const CFRef<CFURLRef> url(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.Get(),
                                                            kCFURLPOSIXPathStyle, isDirectory));
    FSRef ref;
    return url && CFURLGetFSRef(url.Get(), &ref);
}

bool resolvesAsPath(const std::string& path) {
    FSRef ref;
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr) == noErr;
}

} // namespace

bool fileExists(const std::string& path, bool isFile) {
    return resolvesAsUrl(path, !isFile) || resolvesAsPath(path);
}

bool directoryExists(const std::string& path) {
    return fileExists(path, false);
}

uint32_t fileSize(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in || in.peek() == std::ifstream::traits_type::eof()) {
        return 0;
    }
    const std::streamoff begin = in.tellg();
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg() - begin;
    constexpr std::streamoff kLargest = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(std::clamp<std::streamoff>(size, 0, kLargest));
}

std::time_t fileDate(const std::string& path) {
    struct stat info{};
    return stat(path.c_str(), &info) == 0 ? info.st_mtime : 0;
}

std::string getFileTimeDetails(const std::string& path) {
    return "mtime : " + velnor::dateText(fileDate(path));
}

int PDeleteFile(const std::string& path) {
    return unlink(path.c_str());
}

std::string localToFileSystem(const std::string& text) {
    const CFRef<CFStringRef> converted = systemText(text);
    char buffer[kTextBufferSize];
    if (!converted ||
        !CFStringGetCString(converted.Get(), buffer, kTextBufferSize, kCFStringEncodingUTF8)) {
        return text;
    }
    return buffer;
}
