#include "platform/plist/PropertyListSize.h"

#include "platform/plist/PropertyListUid.h"
#include "platform/values/CFArrayObject.h"
#include "platform/values/CFDataObject.h"
#include "platform/values/CFDateObject.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFNumberObject.h"
#include "platform/values/CFStringObject.h"

namespace velnor {
namespace {

constexpr std::size_t kBytesOfFile = 64;  // what stands before and behind the values
constexpr std::size_t kBytesOfValue = 32; // its head, number, place and the reference to it

bool IsContainer(CFTypeRef value) {
    return CastIf<DictionaryObject>(value) != nullptr || CastIf<ArrayObject>(value) != nullptr;
}

// Nothing for another type.
std::optional<std::size_t> ContentOf(CFTypeRef value) {
    if (const auto* string = CastIf<StringObject>(value)) {
        const std::size_t units = string->Units();
        return units == string->Text().size() ? units : 2 * units;
    }
    if (const auto* data = CastIf<DataObject>(value)) {
        return data->Bytes().size();
    }
    const bool isKnown = IsContainer(value) || CastIf<NumberObject>(value) != nullptr ||
                         CastIf<BooleanObject>(value) != nullptr ||
                         CastIf<DateObject>(value) != nullptr ||
                         CastIf<UidObject>(value) != nullptr;
    return isKnown ? std::optional<std::size_t>(0) : std::nullopt;
}

bool AddTree(CFTypeRef value, int depth, PropertyListSize& size) {
    const auto content = ContentOf(value);
    if (!content || (IsContainer(value) && depth == kMaxPropertyListDepth)) {
        return false;
    }
    size.Add(*content);
    bool isWhole = size.IsBearable();
    ObjectOf(value).ForEachChild([&](const CFObject& child) {
        isWhole = isWhole && AddTree(RefOf<CFTypeRef>(&child), depth + 1, size);
    });
    return isWhole;
}

} // namespace

void PropertyListSize::Add(std::size_t content) {
    ++values;
    bytes += kBytesOfValue + content;
}

void PropertyListSize::Add(const PropertyListSize& other) {
    values += other.values;
    bytes += other.bytes;
}

void PropertyListSize::Subtract(const PropertyListSize& other) {
    values -= other.values;
    bytes -= other.bytes;
}

bool PropertyListSize::IsBearable() const {
    return values <= kMaxPropertyListValues && bytes <= kMaxPropertyListBytes - kBytesOfFile;
}

std::optional<PropertyListSize> SizeOfTree(CFTypeRef tree) {
    PropertyListSize size;
    return tree != nullptr && AddTree(tree, 0, size) ? std::optional(size) : std::nullopt;
}

} // namespace velnor
