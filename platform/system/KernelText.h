// Numbers out of the texts that the kernel publishes under /proc and /sys.
#ifndef VELNOR_PLATFORM_SYSTEM_KERNELTEXT_H
#define VELNOR_PLATFORM_SYSTEM_KERNELTEXT_H

#include "platform/Types.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <system_error>

namespace velnor {

// The number at the front of a text, blanks before it skipped; nothing for a negative one.
template <class Number>
std::optional<Number> LeadingNumber(std::string_view text) {
    const auto start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(start);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < Number{}) {
        return std::nullopt;
    }
    return number;
}

// The text after the colon of the first line "name<blanks>: text"; nothing without such a line.
inline std::optional<std::string_view> KernelField(std::string_view text, std::string_view name) {
    while (!text.empty()) {
        auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : text.size());
        if (!line.starts_with(name)) {
            continue;
        }
        line.remove_prefix(name.size());
        const auto colon = line.find_first_not_of(" \t");
        if (colon != std::string_view::npos && line[colon] == ':') {
            return line.substr(colon + 1);
        }
    }
    return std::nullopt;
}

// The bytes that a field of /proc/meminfo states in kB.
inline std::optional<UInt64> MemoryField(std::string_view meminfo, std::string_view name) {
    const auto field = KernelField(meminfo, name);
    const auto kilobytes = field ? LeadingNumber<UInt64>(*field) : std::nullopt;
    return kilobytes ? std::optional(*kilobytes * 1024) : std::nullopt;
}

// The clock in Hz that /proc/cpuinfo states in MHz for the first processor, whole kHz; nothing when
// it states none or 0.
inline std::optional<UInt64> ClockOfCpuInfo(std::string_view cpuinfo) {
    const auto field = KernelField(cpuinfo, "cpu MHz");
    const auto megahertz = field ? LeadingNumber<double>(*field) : std::nullopt;
    if (!megahertz || !(*megahertz > 0 && *megahertz < 1e6)) {
        return std::nullopt;
    }
    return static_cast<UInt64>(std::llround(*megahertz * 1000)) * 1000;
}

} // namespace velnor

#endif
