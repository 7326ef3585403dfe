#include "platform/CFURL.h"

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/values/CFObject.h"
#include "platform/values/CFStringObject.h"
#include "platform/values/Percent.h"
#include "platform/values/UrlSyntax.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unistd.h>

namespace velnor {
namespace {

class UrlObject final : public CFObjectOf<UrlObject> {
public:
    // filePath is the decoded path of a file URL, without a trailing slash.
    UrlObject(CFRef<CFStringRef> text, std::optional<std::string> filePath)
        : mText(std::move(text)), mFilePath(std::move(filePath)) {}

    CFStringRef Text() const { return mText.Get(); }
    const std::optional<std::string>& FilePath() const { return mFilePath; }
    bool Equals(const CFObject& other) const override {
        return CFEqual(Text(), static_cast<const UrlObject&>(other).Text());
    }
    void ForEachChild(const std::function<void(CFObject&)>& visit) const override {
        visit(ObjectOf(Text()));
    }

private:
    CFRef<CFStringRef> mText;
    std::optional<std::string> mFilePath;
};

std::string CurrentDirectory() {
    char path[sizeof(FSRef::path)];
    return getcwd(path, sizeof path) == nullptr ? std::string() : std::string(path);
}

std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

CFURLRef CreateUrl(std::string_view text, std::optional<std::string> filePath) {
    CFRef<CFStringRef> string(CreateString(text));
    return string ? RefOf<CFURLRef>(new UrlObject(std::move(string), std::move(filePath)))
                  : nullptr;
}

CFURLRef CreateFileUrl(std::string path, bool isDirectory) {
    if (path.empty() || path.find('\0') != std::string::npos) {
        return nullptr;
    }
    if (path[0] != '/') {
        const std::string folder = CurrentDirectory();
        if (folder.empty()) {
            return nullptr;
        }
        path = WithoutTrailingSlashes(folder) + (folder == "/" ? "" : "/") + path;
    }
    path = WithoutTrailingSlashes(std::move(path));
    std::string text = "file://" + PercentEncode(path, IsUrlPathByte);
    if (isDirectory && path != "/") {
        text += '/';
    }
    return CreateUrl(text, std::move(path));
}

std::optional<std::string> FilePathOf(const UrlParts& parts) {
    constexpr std::string_view kFile = "file";
    const bool isFile = std::equal(parts.scheme.begin(), parts.scheme.end(), kFile.begin(),
                                   kFile.end(), [](char a, char b) { return (a | 0x20) == b; });
    const auto host = parts.authority.value_or("");
    if (!isFile || (!host.empty() && host != "localhost") || !parts.path.starts_with('/')) {
        return std::nullopt;
    }
    auto path = PercentDecode(parts.path);
    if (!path || path->find('\0') != std::string::npos) {
        return std::nullopt;
    }
    return WithoutTrailingSlashes(std::move(*path));
}

} // namespace
} // namespace velnor

using velnor::Cast;
using velnor::UrlObject;

CFTypeID CFURLGetTypeID(void) {
    return UrlObject::StaticTypeID();
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory) {
    if (path == nullptr || style != kCFURLPOSIXPathStyle) {
        return nullptr;
    }
    return velnor::CreateFileUrl(velnor::TextOf(path), isDirectory);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* path, CFIndex length,
                                                 Boolean isDirectory) {
    if (path == nullptr || length <= 0) {
        return nullptr;
    }
    return velnor::CreateFileUrl({path, path + length}, isDirectory);
}

CFURLRef CFURLCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex length, UInt32,
                              CFURLRef baseURL) {
    if (bytes == nullptr || length <= 0 || baseURL != nullptr) {
        return nullptr;
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes),
                                static_cast<std::size_t>(length));
    const auto parts = velnor::SplitUrl(text);
    return parts ? velnor::CreateUrl(text, velnor::FilePathOf(*parts)) : nullptr;
}

CFStringRef CFURLGetString(CFURLRef url) {
    return Cast<UrlObject>(url).Text();
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex size) {
    const auto& path = Cast<UrlObject>(url).FilePath();
    if (!path || size <= 0 || path->size() >= static_cast<std::size_t>(size)) {
        return false;
    }
    std::memcpy(buffer, path->c_str(), path->size() + 1);
    return true;
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* ref) {
    const auto& path = Cast<UrlObject>(url).FilePath();
    return path &&
           FSPathMakeRef(reinterpret_cast<const UInt8*>(path->c_str()), ref, nullptr) == noErr;
}
