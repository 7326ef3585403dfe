#include "platform/SystemQueries.h"

#include "platform/files/FileSystem.h"
#include "platform/system/KernelText.h"
#include "platform/system/Processor.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/utsname.h>
#include <unistd.h>

namespace velnor {
namespace {

constexpr std::size_t kMaximumMemInfo = 65536;

// The bytes of the value, or none when there is no such name or the machine does not say.
std::optional<std::string> QueryValue(std::string_view name) {
    const auto bytesOf = [](auto value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    constexpr std::string_view kOptional = "hw.optional.";
    if (name == "hw.cpufrequency") {
        const auto clock = ProcessorClock();
        return clock ? std::optional(bytesOf(*clock)) : std::nullopt;
    }
    if (name == "hw.activecpu") {
        return bytesOf(ActiveProcessors());
    }
    if (name.starts_with(kOptional)) {
        const auto has = HasInstructionSet(name.substr(kOptional.size()));
        return has ? std::optional(bytesOf(SInt32{*has})) : std::nullopt;
    }
    return std::nullopt;
}

int FailWith(int error) {
    errno = error;
    return -1;
}

// The first three numbers of a kernel release, 0 for each that is not there.
std::array<SInt32, 3> ReleaseNumbers(std::string_view release) {
    std::array<SInt32, 3> numbers{};
    for (SInt32& number : numbers) {
        const char* end = release.data() + release.size();
        const auto [stop, error] = std::from_chars(release.data(), end, number);
        if (error != std::errc()) {
            break;
        }
        release.remove_prefix(static_cast<std::size_t>(stop - release.data()));
        if (!release.starts_with('.')) {
            break;
        }
        release.remove_prefix(1);
    }
    return numbers;
}

std::optional<std::size_t> ReleaseIndex(OSType selector) {
    switch (selector) {
    case gestaltSystemVersionMajor:
        return 0;
    case gestaltSystemVersionMinor:
        return 1;
    case gestaltSystemVersionBugFix:
        return 2;
    default:
        return std::nullopt;
    }
}

// Writes a record of the host's statistics, when there is room for it.
template <class Record>
kern_return_t Deliver(const Record& record, void* info, mach_msg_type_number_t* count) {
    constexpr mach_msg_type_number_t kWords = sizeof record / sizeof(SInt32);
    if (info == nullptr || count == nullptr || *count < kWords) {
        return KERN_FAILURE;
    }
    std::memcpy(info, &record, sizeof record);
    *count = kWords;
    return KERN_SUCCESS;
}

} // namespace
} // namespace velnor

int sysctlbyname(const char* name, void* old, size_t* oldLength, void* newValue, size_t newLength) {
    if (newValue != nullptr || newLength != 0) {
        return velnor::FailWith(EPERM);
    }
    const auto value = name ? velnor::QueryValue(name) : std::nullopt;
    if (!value) {
        return velnor::FailWith(ENOENT);
    }
    if (oldLength == nullptr) {
        return old == nullptr ? 0 : velnor::FailWith(EFAULT);
    }
    if (old != nullptr && *oldLength < value->size()) {
        return velnor::FailWith(ENOMEM);
    }
    if (old != nullptr) {
        std::memcpy(old, value->data(), value->size());
    }
    *oldLength = value->size();
    return 0;
}

OSErr Gestalt(OSType selector, SInt32* response) {
    if (response == nullptr) {
        return paramErr;
    }
    *response = 0;
    const auto index = velnor::ReleaseIndex(selector);
    if (!index) {
        return gestaltUndefSelectorErr;
    }
    utsname names{};
    if (uname(&names) != 0) {
        return ioErr;
    }
    *response = velnor::ReleaseNumbers(names.release)[*index];
    return noErr;
}

mach_port_t mach_host_self(void) {
    return 1;
}

kern_return_t host_statistics(mach_port_t host, host_flavor_t flavor, void* info,
                              mach_msg_type_number_t* count) {
    if (host != mach_host_self() || flavor != HOST_VM_INFO) {
        return KERN_FAILURE;
    }
    const auto meminfo = velnor::ReadRegularFile("/proc/meminfo", velnor::kMaximumMemInfo);
    const auto bytes = meminfo ? velnor::MemoryField(*meminfo, "MemFree") : std::nullopt;
    if (!bytes) {
        return KERN_FAILURE;
    }
    vm_statistics_data_t record{};
    record.free_count = *bytes / vm_page_size;
    return velnor::Deliver(record, info, count);
}

kern_return_t host_info(mach_port_t host, host_flavor_t flavor, void* info,
                        mach_msg_type_number_t* count) {
    if (host != mach_host_self() || flavor != HOST_BASIC_INFO) {
        return KERN_FAILURE;
    }
    const long pages = sysconf(_SC_PHYS_PAGES);
    if (pages <= 0) {
        return KERN_FAILURE;
    }
    host_basic_info_data_t record{};
    record.avail_cpus = velnor::ActiveProcessors();
    record.max_mem = static_cast<UInt64>(pages) * vm_page_size;
    return velnor::Deliver(record, info, count);
}

const size_t vm_page_size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
