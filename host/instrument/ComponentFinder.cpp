#include "host/instrument/ComponentFinder.h"

#include "host/job/JobError.h"
#include "host/job/PlatformText.h"
#include "platform/AudioUnitTypes.h"
#include "platform/CFRef.h"

#include <algorithm>
#include <new>
#include <strings.h>

namespace velnor::host {

namespace {

constexpr UInt32 kMostComponentsOfABundle = 64;
constexpr const char* kComponentExtension = ".component";

bool isPath(const std::string& word) {
    return word.find('/') != std::string::npos || word.ends_with(kComponentExtension);
}

bool isInstrument(Component component) {
    return descriptionOf(component).componentType == kAudioUnitType_MusicDevice;
}

Component instrumentInBundle(const std::string& path) {
    std::vector<Component> components(kMostComponentsOfABundle);
    UInt32 count = 0;
    const OSStatus status = PlatformRegisterComponentBundle(path.c_str(), components.data(),
                                                            kMostComponentsOfABundle, &count);
    if (status == fnfErr) {
        throw JobError(path + ": there is no bundle; give the path of a .component folder");
    }
    if (status == memFullErr) {
        throw std::bad_alloc();
    }
    if (status != noErr) {
        throw JobError(path + ": its Info.plist registers no components");
    }
    components.resize(std::min(count, kMostComponentsOfABundle));
    const auto found = std::find_if(components.begin(), components.end(), isInstrument);
    if (found == components.end()) {
        throw JobError(path + ": it holds no instrument");
    }
    return *found;
}

bool matches(Component component, const std::string& word) {
    return word.empty() || codeText(descriptionOf(component).componentSubType) == word ||
           strcasecmp(nameOf(component).c_str(), word.c_str()) == 0;
}

} // namespace

std::vector<Component> installedComponents() {
    std::vector<Component> components;
    ComponentDescription any = {};
    for (Component component = FindNextComponent(nullptr, &any); component;
         component = FindNextComponent(component, &any)) {
        components.push_back(component);
    }
    return components;
}

Component findInstrument(const std::string& word) {
    if (isPath(word)) {
        return instrumentInBundle(word);
    }
    std::string names;
    for (Component component : installedComponents()) {
        if (!isInstrument(component)) {
            continue;
        }
        if (matches(component, word)) {
            return component;
        }
        names += (names.empty() ? "" : ", ") + nameOf(component);
    }
    if (names.empty()) {
        throw JobError("no instrument is installed; run: velnor-host install BUNDLE --engine "
                       "BUNDLE --data DIR");
    }
    throw JobError(word + ": no such instrument; installed: " + names);
}

ComponentDescription descriptionOf(Component component) {
    ComponentDescription description = {};
    GetComponentInfo(component, &description, nullptr, nullptr, nullptr);
    return description;
}

std::string nameOf(Component component) {
    const CFRef<CFStringRef> name(PlatformComponentCopyName(component));
    return textOf(name.Get());
}

std::string bundlePathOf(Component component) {
    const CFRef<CFStringRef> path(PlatformComponentCopyBundlePath(component));
    return textOf(path.Get());
}

std::string codeText(OSType code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char c = static_cast<char>(code >> shift);
        text += c >= ' ' && c <= '~' ? c : '?';
    }
    return text;
}

} // namespace velnor::host
