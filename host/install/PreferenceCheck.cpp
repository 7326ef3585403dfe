#include "host/install/PreferenceCheck.h"

#include "host/job/InputFile.h"
#include "host/job/JobError.h"
#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"

#include <filesystem>

namespace velnor::host {

namespace {

constexpr std::size_t kSizeLimit = 64u << 20;

PreferenceTrouble troubleOf(const std::vector<std::uint8_t>& bytes) {
    const CFRef<CFDataRef> data(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    const CFRef<CFPropertyListRef> list(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    if (list && CFGetTypeID(list.Get()) == CFDictionaryGetTypeID()) {
        return PreferenceTrouble::none;
    }
    const bool isForeign = list || PlatformPropertyListIsForeign(data.Get());
    return isForeign ? PreferenceTrouble::foreign : PreferenceTrouble::damaged;
}

PreferenceCheck checkRegularFile(const std::string& path) {
    std::error_code error;
    if (std::filesystem::file_size(path, error) > kSizeLimit && !error) {
        return {PreferenceTrouble::foreign,
                path + ": it is larger than 64 MiB, the most that is read; it is left untouched"};
    }
    switch (const PreferenceTrouble trouble = troubleOf(readInputFile(path, kSizeLimit))) {
    case PreferenceTrouble::none:
        return {};
    case PreferenceTrouble::foreign:
        return {trouble,
                path + ": it is a property list that only other programs read (too large, too "
                       "deep, no dictionary, or of another form or encoding); it is left "
                       "untouched"};
    default:
        return {trouble, path + ": it cannot be parsed"};
    }
}

} // namespace

PreferenceCheck checkPreferenceFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::none) {
        return {PreferenceTrouble::unreadable, path + ": " + error.message()};
    }
    if (!std::filesystem::exists(status)) {
        return {};
    }
    if (!std::filesystem::is_regular_file(status)) {
        return {PreferenceTrouble::unreadable, path + ": it is no regular file"};
    }
    try {
        return checkRegularFile(path);
    } catch (const JobError& problem) {
        return {PreferenceTrouble::unreadable, problem.what()};
    }
}

} // namespace velnor::host
