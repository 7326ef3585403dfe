#include "platform/preferences/TreeMerge.h"

#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFStringObject.h"

namespace velnor {
namespace {

CFTypeRef EntryOf(const DictionaryObject* tree, std::string_view key) {
    return tree != nullptr ? tree->Find(key) : nullptr;
}

} // namespace

bool IsSameValue(CFTypeRef a, CFTypeRef b) {
    return a == b || (a != nullptr && b != nullptr && CFEqual(a, b));
}

CFRef<CFTypeRef> MergeChanges(CFTypeRef base, CFTypeRef earlier, CFTypeRef later) {
    if (IsSameValue(later, base)) {
        return CFRef<CFTypeRef>::Retained(earlier);
    }
    const auto* before = CastIf<DictionaryObject>(base);
    const auto* mine = CastIf<DictionaryObject>(earlier);
    const auto* theirs = CastIf<DictionaryObject>(later);
    if (mine == nullptr || theirs == nullptr || (base != nullptr && before == nullptr)) {
        return CFRef<CFTypeRef>::Retained(later);
    }
    DictionaryObject::Entries merged;
    for (const DictionaryObject* side : {mine, theirs}) {
        for (const auto& [key, own] : side->All()) {
            if (merged.contains(key)) {
                continue;
            }
            const std::string& text = TextOf(key.Get());
            CFRef<CFTypeRef> value =
                MergeChanges(EntryOf(before, text), EntryOf(mine, text), EntryOf(theirs, text));
            if (value) {
                merged.emplace(key.Share(), std::move(value));
            }
        }
    }
    return CFRef<CFTypeRef>(RefOf<CFTypeRef>(new DictionaryObject(std::move(merged), false)));
}

} // namespace velnor
