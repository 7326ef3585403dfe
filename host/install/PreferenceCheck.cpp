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

constexpr std::size_t kSizeLimit = 256u << 20;

bool isDictionary(const std::vector<std::uint8_t>& bytes) {
    const CFRef<CFDataRef> data(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    const CFRef<CFPropertyListRef> list(CFPropertyListCreateWithData(
        kCFAllocatorDefault, data.Get(), kCFPropertyListImmutable, nullptr, nullptr));
    return list && CFGetTypeID(list.Get()) == CFDictionaryGetTypeID();
}

} // namespace

std::string checkPreferenceFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) {
        return "";
    }
    if (!std::filesystem::is_regular_file(status)) {
        return path + ": it is no regular file";
    }
    try {
        return isDictionary(readInputFile(path, kSizeLimit)) ? "" : path + ": it cannot be parsed";
    } catch (const JobError& problem) {
        return problem.what();
    }
}

} // namespace velnor::host
