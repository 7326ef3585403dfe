#include "host/instrument/PresetText.h"

#include "host/instrument/ComponentFinder.h"
#include "host/job/PlatformText.h"
#include "platform/CFArray.h"
#include "platform/CFData.h"
#include "platform/CFDate.h"
#include "platform/CFDictionary.h"
#include "platform/CFNumber.h"

#include <algorithm>
#include <cstdio>

namespace velnor::host {

namespace {

using Lines = std::vector<std::string>;

constexpr CFIndex kShownBytes = 16;

// Enough digits to tell any two apart.
std::string realText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string dataText(CFDataRef data) {
    const CFIndex length = CFDataGetLength(data);
    std::uint64_t sum = 14695981039346656037u; // FNV-1a, so that a difference anywhere shows
    std::string bytes;
    for (CFIndex i = 0; i < length; ++i) {
        const UInt8 byte = CFDataGetBytePtr(data)[i];
        sum = (sum ^ byte) * 1099511628211u;
        char hex[4];
        std::snprintf(hex, sizeof hex, " %02x", byte);
        if (i < kShownBytes) {
            bytes += hex;
        }
    }
    char text[64];
    std::snprintf(text, sizeof text, "%ld bytes, sum %016llx:", static_cast<long>(length),
                  static_cast<unsigned long long>(sum));
    return text + bytes + (length > kShownBytes ? " ..." : "");
}

std::string numberText(CFNumberRef number) {
    if (CFNumberIsFloatType(number)) {
        double value = 0;
        CFNumberGetValue(number, kCFNumberFloat64Type, &value);
        const std::string text = realText(value);
        const bool looksWhole = text.find_first_not_of("-0123456789") == std::string::npos;
        return text + (looksWhole ? ".0" : "");
    }
    SInt64 value = 0;
    if (!CFNumberGetValue(number, kCFNumberSInt64Type, &value)) {
        double large = 0;
        CFNumberGetValue(number, kCFNumberFloat64Type, &large);
        return realText(large);
    }
    const std::string code = codeText(static_cast<OSType>(value));
    const bool isCode = value > 0xFFFF && code.find('?') == std::string::npos;
    return std::to_string(value) + (isCode ? " '" + code + "'" : "");
}

// A value, or a container with nothing in it.
std::string leafText(CFTypeRef value) {
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFDictionaryGetTypeID()) {
        return "an empty dictionary";
    }
    if (type == CFArrayGetTypeID()) {
        return "an empty list";
    }
    if (type == CFStringGetTypeID()) {
        return "\"" + textOf(static_cast<CFStringRef>(value)) + "\"";
    }
    if (type == CFNumberGetTypeID()) {
        return numberText(static_cast<CFNumberRef>(value));
    }
    if (type == CFDataGetTypeID()) {
        return dataText(static_cast<CFDataRef>(value));
    }
    if (type == CFBooleanGetTypeID()) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? "true" : "false";
    }
    return "a date, " + realText(CFDateGetAbsoluteTime(static_cast<CFDateRef>(value))) +
           " seconds after 2001-01-01";
}

// One value in a container. The name is what it adds to the container's, as "/gain" or "[3]".
struct Child {
    std::string name;
    CFStringRef key; // of a dictionary
    CFIndex place;   // in a list
    CFTypeRef value;
};

std::vector<Child> childrenOf(CFTypeRef value) {
    std::vector<Child> children;
    if (CFGetTypeID(value) == CFArrayGetTypeID()) {
        const auto list = static_cast<CFArrayRef>(value);
        for (CFIndex i = 0; i < CFArrayGetCount(list); ++i) {
            children.push_back(
                {"[" + std::to_string(i) + "]", nullptr, i, CFArrayGetValueAtIndex(list, i)});
        }
    } else if (CFGetTypeID(value) == CFDictionaryGetTypeID()) {
        const auto dictionary = static_cast<CFDictionaryRef>(value);
        std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
        std::vector<const void*> values(keys.size());
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const auto key = static_cast<CFStringRef>(keys[i]);
            children.push_back({"/" + textOf(key), key, 0, values[i]});
        }
        std::sort(children.begin(), children.end(),
                  [](const Child& a, const Child& b) { return a.name < b.name; });
    }
    return children;
}

// The value at the same place of a container of the same kind, or null.
CFTypeRef counterpartOf(const Child& child, CFTypeRef container) {
    if (child.key) {
        return CFDictionaryGetValue(static_cast<CFDictionaryRef>(container), child.key);
    }
    const auto list = static_cast<CFArrayRef>(container);
    return child.place < CFArrayGetCount(list) ? CFArrayGetValueAtIndex(list, child.place)
                                               : nullptr;
}

void addLines(const std::string& name, CFTypeRef value, const std::string& mark, Lines& lines) {
    const std::vector<Child> children = childrenOf(value);
    for (const Child& child : children) {
        addLines(name + child.name, child.value, mark, lines);
    }
    if (children.empty()) {
        lines.push_back(mark + name.substr(name.starts_with('/') ? 1 : 0) + " = " +
                        leafText(value));
    }
}

void addDifferences(const std::string& name, CFTypeRef a, CFTypeRef b, Lines& lines) {
    if (CFEqual(a, b)) {
        return;
    }
    const std::vector<Child> ofA = childrenOf(a);
    const std::vector<Child> ofB = childrenOf(b);
    if (CFGetTypeID(a) != CFGetTypeID(b) || (ofA.empty() && ofB.empty())) {
        addLines(name, a, "- ", lines);
        addLines(name, b, "+ ", lines);
        return;
    }
    for (const Child& child : ofA) {
        if (const CFTypeRef other = counterpartOf(child, b)) {
            addDifferences(name + child.name, child.value, other, lines);
        } else {
            addLines(name + child.name, child.value, "- ", lines);
        }
    }
    for (const Child& child : ofB) {
        if (!counterpartOf(child, a)) {
            addLines(name + child.name, child.value, "+ ", lines);
        }
    }
}

} // namespace

std::vector<std::string> linesOf(CFPropertyListRef preset) {
    Lines lines;
    addLines("", preset, "", lines);
    return lines;
}

std::vector<std::string> differencesOf(CFPropertyListRef a, CFPropertyListRef b) {
    Lines lines;
    addDifferences("", a, b, lines);
    return lines;
}

} // namespace velnor::host
