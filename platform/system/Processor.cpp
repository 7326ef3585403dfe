#include "platform/system/Processor.h"

#include "platform/files/FileSystem.h"
#include "platform/system/KernelText.h"

#include <algorithm>
#include <unistd.h>

namespace velnor {
namespace {

constexpr std::size_t kMaximumNumberFile = 4096;
constexpr std::size_t kMaximumCpuInfo = std::size_t{16} << 20;

std::optional<UInt64> ClockOfCpufreq(const char* file) {
    const std::string folder = "/sys/devices/system/cpu/cpu0/cpufreq/";
    const auto content = ReadRegularFile(folder + file, kMaximumNumberFile);
    const auto kilohertz = content ? LeadingNumber<UInt64>(*content) : std::nullopt;
    return kilohertz && *kilohertz > 0 ? std::optional(*kilohertz * 1000) : std::nullopt;
}

} // namespace

std::optional<UInt64> ProcessorClock() {
    for (const char* file : {"base_frequency", "cpuinfo_max_freq"}) {
        if (const auto clock = ClockOfCpufreq(file)) {
            return clock;
        }
    }
    const auto cpuinfo = ReadRegularFile("/proc/cpuinfo", kMaximumCpuInfo);
    return cpuinfo ? ClockOfCpuInfo(*cpuinfo) : std::nullopt;
}

SInt32 ActiveProcessors() {
    return std::max(static_cast<SInt32>(sysconf(_SC_NPROCESSORS_ONLN)), 1);
}

std::optional<bool> HasInstructionSet(std::string_view name) {
    __builtin_cpu_init();
    if (name == "mmx") {
        return __builtin_cpu_supports("mmx") != 0;
    }
    if (name == "sse") {
        return __builtin_cpu_supports("sse") != 0;
    }
    if (name == "sse2") {
        return __builtin_cpu_supports("sse2") != 0;
    }
    if (name == "sse3") {
        return __builtin_cpu_supports("sse3") != 0;
    }
    return std::nullopt;
}

} // namespace velnor
