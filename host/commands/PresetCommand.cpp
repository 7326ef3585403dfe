#include "host/commands/PresetCommand.h"

#include "host/instrument/ComponentFinder.h"
#include "host/instrument/Instrument.h"
#include "host/instrument/PresetFile.h"
#include "host/job/DistinctFiles.h"
#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "host/job/Terminal.h"
#include "platform/CFArray.h"
#include "platform/CFData.h"
#include "platform/CFDictionary.h"
#include "platform/CFNumber.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <vector>

namespace velnor::host {

namespace {

constexpr CFIndex kShownBytes = 16;
constexpr UInt32 kBlock = 512;

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
    char text[64];
    if (CFNumberIsFloatType(number)) {
        double value = 0;
        CFNumberGetValue(number, kCFNumberFloat64Type, &value);
        std::snprintf(text, sizeof text, "%.9g", value);
        return text;
    }
    SInt64 value = 0;
    CFNumberGetValue(number, kCFNumberSInt64Type, &value);
    const std::string code = codeText(static_cast<OSType>(value));
    const bool isCode = value > 0xFFFF && code.find('?') == std::string::npos;
    return std::to_string(value) + (isCode ? " '" + code + "'" : "");
}

void addLines(const std::string& name, CFTypeRef value, std::vector<std::string>& lines);

void addDictionary(const std::string& name, CFDictionaryRef dictionary,
                   std::vector<std::string>& lines) {
    std::vector<const void*> keys(static_cast<std::size_t>(CFDictionaryGetCount(dictionary)));
    std::vector<const void*> values(keys.size());
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        addLines((name.empty() ? "" : name + "/") + textOf(static_cast<CFStringRef>(keys[i])),
                 values[i], lines);
    }
}

void addLines(const std::string& name, CFTypeRef value, std::vector<std::string>& lines) {
    const CFTypeID type = CFGetTypeID(value);
    if (type == CFDictionaryGetTypeID()) {
        addDictionary(name, static_cast<CFDictionaryRef>(value), lines);
    } else if (type == CFStringGetTypeID()) {
        lines.push_back(name + " = \"" + textOf(static_cast<CFStringRef>(value)) + "\"");
    } else if (type == CFNumberGetTypeID()) {
        lines.push_back(name + " = " + numberText(static_cast<CFNumberRef>(value)));
    } else if (type == CFDataGetTypeID()) {
        lines.push_back(name + " = " + dataText(static_cast<CFDataRef>(value)));
    } else if (type == CFBooleanGetTypeID()) {
        lines.push_back(
            name + (CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? " = true" : " = false"));
    } else if (type == CFArrayGetTypeID()) {
        lines.push_back(name + " = a list of " +
                        std::to_string(CFArrayGetCount(static_cast<CFArrayRef>(value))));
    } else {
        lines.push_back(name + " = a date");
    }
}

std::vector<std::string> linesOf(const std::string& path) {
    std::vector<std::string> lines;
    addLines("", readPreset(path).Get(), lines);
    return lines;
}

void printMissing(const std::vector<std::string>& lines, const std::vector<std::string>& others,
                  char mark) {
    const std::set<std::string> known(others.begin(), others.end());
    for (const std::string& line : lines) {
        if (!known.contains(line)) {
            printLine(std::string(1, mark) + " " + line);
        }
    }
}

} // namespace

void showPreset(const std::string& path) {
    for (const std::string& line : linesOf(path)) {
        printLine(line);
    }
}

void savePreset(const std::string& path, const std::string& component, const std::string& from) {
    requireDistinctFiles({from}, {path});
    Instrument instrument(findInstrument(component));
    instrument.setMaximumFrames(kBlock);
    instrument.initialize();
    if (!instrument.hasEngine()) {
        throw JobError("the instrument has no working engine, and a preset would hold no sound; "
                       "run: velnor-host doctor");
    }
    if (!from.empty()) {
        restoreState(instrument.unit(), readPreset(from).Get(), from);
    }
    writePreset(path, stateOf(instrument.unit()).Get());
}

bool diffPresets(const std::string& a, const std::string& b) {
    const std::vector<std::string> first = linesOf(a);
    const std::vector<std::string> second = linesOf(b);
    printMissing(first, second, '-');
    printMissing(second, first, '+');
    return first == second;
}

} // namespace velnor::host
