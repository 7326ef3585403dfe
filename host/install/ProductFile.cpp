#include "host/install/ProductFile.h"

#include "host/job/InputFile.h"
#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "platform/CFBundle.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>

namespace velnor::host {

namespace {

constexpr std::size_t kRecordSize = 256;
constexpr std::size_t kVendorOffset = 64;
constexpr std::size_t kProductOffset = 128;
constexpr std::size_t kTextSize = 64;
constexpr std::size_t kEndMagicOffset = 252;
constexpr std::array<std::uint8_t, 4> kStartMagic = {0x78, 0x56, 0x34, 0x12};
constexpr std::array<std::uint8_t, 4> kEndMagic = {0x21, 0x43, 0x65, 0x87};
constexpr std::size_t kExecutableSizeLimit = 512u << 20;

#if defined(__x86_64__)
constexpr const char* kPlatformFolder = "x86_64-linux";
#else
constexpr const char* kPlatformFolder = "i386-linux";
#endif

std::optional<std::string> textAt(std::span<const std::uint8_t> record, std::size_t offset) {
    const char* text = reinterpret_cast<const char*>(record.data()) + offset;
    const std::size_t length = strnlen(text, kTextSize);
    const bool isAscii =
        std::all_of(text, text + length, [](char c) { return c >= ' ' && c <= '~'; });
    if (length == 0 || length == kTextSize || !isAscii) {
        return std::nullopt;
    }
    return std::string(text, length);
}

std::optional<ProductNames> recordAt(std::span<const std::uint8_t> record) {
    if (!std::equal(kEndMagic.begin(), kEndMagic.end(), record.begin() + kEndMagicOffset)) {
        return std::nullopt;
    }
    const std::optional<std::string> vendor = textAt(record, kVendorOffset);
    const std::optional<std::string> product = textAt(record, kProductOffset);
    if (!vendor || !product) {
        return std::nullopt;
    }
    return ProductNames{*vendor, *product};
}

std::optional<ProductNames> findRecord(std::span<const std::uint8_t> file) {
    auto at = file.begin();
    while (true) {
        at = std::search(at, file.end(), kStartMagic.begin(), kStartMagic.end());
        if (static_cast<std::size_t>(file.end() - at) < kRecordSize) {
            return std::nullopt;
        }
        const auto offset = static_cast<std::size_t>(at - file.begin());
        if (const auto names = recordAt(file.subspan(offset, kRecordSize))) {
            return names;
        }
        ++at;
    }
}

std::string executableOf(const std::string& bundlePath) {
    const CFRef<CFStringRef> path = platformString(bundlePath);
    if (!path) {
        throw JobError(bundlePath + ": the path is not UTF-8");
    }
    const CFRef<CFURLRef> url(
        CFURLCreateWithFileSystemPath(kCFAllocatorDefault, path.Get(), kCFURLPOSIXPathStyle, true));
    const CFRef<CFBundleRef> bundle(CFBundleCreate(kCFAllocatorDefault, url.Get()));
    if (!bundle) {
        throw JobError(bundlePath + ": not a bundle: it has no readable Contents/Info.plist");
    }
    const CFTypeRef name =
        CFBundleGetValueForInfoDictionaryKey(bundle.Get(), kCFBundleExecutableKey);
    if (!name || CFGetTypeID(name) != CFStringGetTypeID()) {
        throw JobError(bundlePath + ": its Info.plist names no executable");
    }
    return bundlePath + "/Contents/" + kPlatformFolder + "/" +
           textOf(static_cast<CFStringRef>(name));
}

} // namespace

ProductNames productOfBundle(const std::string& bundlePath) {
    const std::string executable = executableOf(bundlePath);
    std::error_code error;
    if (const auto status = std::filesystem::status(executable, error);
        std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw JobError(executable + ": it is no regular file");
    }
    const std::optional<ProductNames> names =
        findRecord(readInputFile(executable, kExecutableSizeLimit));
    if (!names) {
        throw JobError(executable + ": it holds no product record; is this a Velnor component?");
    }
    return *names;
}

} // namespace velnor::host
