#include "framework/AUScope.h"

#include "framework/StateDictionary.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace velnor {

namespace {

constexpr CFIndex kMaximumKeyCharacters = 31;

/// The element that a key names; nothing for a number that no scope reaches and for other text.
std::optional<UInt32> ElementOfKey(CFTypeRef inKey) {
    char text[kMaximumKeyCharacters + 1];
    if (CFGetTypeID(inKey) != CFStringGetTypeID() ||
        !CFStringGetCString(static_cast<CFStringRef>(inKey), text, sizeof(text),
                            kCFStringEncodingASCII)) {
        return std::nullopt;
    }
    const char* const end = text + std::strlen(text);
    UInt32 number = 0;
    const auto [stop, error] = std::from_chars(text, end, number);
    if (stop != end || error != std::errc() || number >= kMaximumElementsPerScope) {
        return std::nullopt;
    }
    return number;
}

struct ElementName {
    UInt32 element;
    CFStringRef name; // null when the value is no string
};

std::vector<ElementName> ElementNamesOf(CFDictionaryRef inNames) {
    const auto count = static_cast<size_t>(CFDictionaryGetCount(inNames));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(inNames, keys.data(), values.data());
    std::vector<ElementName> names;
    for (size_t i = 0; i < count; ++i) {
        const auto element = ElementOfKey(keys[i]);
        if (element) {
            const bool isText = CFGetTypeID(values[i]) == CFStringGetTypeID();
            names.push_back({*element, isText ? static_cast<CFStringRef>(values[i]) : nullptr});
        }
    }
    return names;
}

} // namespace

void AUScope::SetNumberOfElements(UInt32 inCount) {
    if (inCount > kMaximumElementsPerScope) {
        ThrowStatus(kAudioUnitErr_InvalidPropertyValue);
    }
    while (mElements.size() > inCount) {
        mElements.pop_back();
    }
    // All at once, so that a later growth moves nothing under a renderer.
    mElements.reserve(kMaximumElementsPerScope);
    while (mElements.size() < inCount) {
        mElements.push_back(mCreator.CreateElement(mScope, GetNumberOfElements()));
    }
}

AUIOElement& AUScope::GetIOElement(AudioUnitElement inElement) const VELNOR_NONBLOCKING {
    AUIOElement* const bus = SafeGetElement(inElement).AsIOElement();
    if (bus == nullptr) {
        ThrowStatus(kAudioUnitErr_InvalidElement);
    }
    return *bus;
}

bool AUScope::HasElementWithName() const {
    return std::any_of(mElements.begin(), mElements.end(),
                       [](const auto& element) { return element->HasName(); });
}

void AUScope::AddElementNamesToDict(CFMutableDictionaryRef ioNames) const {
    if (!HasElementWithName()) {
        return;
    }
    const CFRef<CFMutableDictionaryRef> names(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (UInt32 i = 0; i < GetNumberOfElements(); ++i) {
        if (mElements[i]->HasName()) {
            AddToDictionary(names.Get(), std::to_string(i).c_str(), mElements[i]->GetName());
        }
    }
    AddToDictionary(ioNames, std::to_string(mScope).c_str(), names.Get());
}

bool AUScope::RestoreElementNames(CFDictionaryRef inNames) {
    const std::vector<ElementName> names = ElementNamesOf(inNames);
    const auto last = std::max_element(
        names.begin(), names.end(),
        [](const ElementName& a, const ElementName& b) { return a.element < b.element; });
    if (last == names.end()) {
        return false;
    }
    const bool grows = last->element >= GetNumberOfElements();
    if (grows) {
        SetNumberOfElements(last->element + 1);
    }
    for (const ElementName& named : names) {
        if (named.name != nullptr) {
            mElements[named.element]->SetName(named.name);
        }
    }
    return grows;
}

} // namespace velnor
