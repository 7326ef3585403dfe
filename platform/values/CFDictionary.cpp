#include "platform/CFDictionary.h"

#include "platform/values/CFDictionaryObject.h"

#include <algorithm>

using velnor::Cast;
using velnor::DictionaryObject;

struct CFDictionaryKeyCallBacks {
    char retained;
};
struct CFDictionaryValueCallBacks {
    char retained;
};

namespace velnor {
namespace {

constexpr CFDictionaryKeyCallBacks kKeysRetained{1};
constexpr CFDictionaryValueCallBacks kValuesRetained{1};

CFStringRef AsKey(const void* key) {
    return RefOf<CFStringRef>(CastIf<StringObject>(key));
}

DictionaryObject::Entries Share(const DictionaryObject::Entries& entries) {
    DictionaryObject::Entries shared;
    for (const auto& [key, value] : entries) {
        shared.emplace_hint(shared.end(), key.Share(), value.Share());
    }
    return shared;
}

} // namespace

CFTypeRef DictionaryObject::Find(std::string_view key) const {
    const auto found = mEntries.find(key);
    return found == mEntries.end() ? nullptr : found->second.Get();
}

void DictionaryObject::Add(CFStringRef key, CFTypeRef value) {
    if (mMutable && !mEntries.contains(std::string_view(TextOf(key)))) {
        mEntries.emplace(CFRef<CFStringRef>::Retained(key), CFRef<CFTypeRef>::Retained(value));
    }
}

void DictionaryObject::Set(CFStringRef key, CFTypeRef value) {
    if (mMutable) {
        mEntries.insert_or_assign(CFRef<CFStringRef>::Retained(key),
                                  CFRef<CFTypeRef>::Retained(value));
    }
}

void DictionaryObject::Remove(std::string_view key) {
    const auto found = mMutable ? mEntries.find(key) : mEntries.end();
    if (found != mEntries.end()) {
        mEntries.erase(found);
    }
}

bool DictionaryObject::Equals(const CFObject& other) const {
    const Entries& entries = static_cast<const DictionaryObject&>(other).mEntries;
    return std::equal(mEntries.begin(), mEntries.end(), entries.begin(), entries.end(),
                      [](const auto& a, const auto& b) {
                          return CFEqual(a.first.Get(), b.first.Get()) &&
                                 CFEqual(a.second.Get(), b.second.Get());
                      });
}

void DictionaryObject::ForEachChild(const std::function<void(CFObject&)>& visit) const {
    for (const auto& [key, value] : mEntries) {
        visit(ObjectOf(key.Get()));
        visit(ObjectOf(value.Get()));
    }
}

} // namespace velnor

const CFDictionaryKeyCallBacks* const PlatformTypeKeyCallBacks = &velnor::kKeysRetained;
const CFDictionaryValueCallBacks* const PlatformTypeValueCallBacks = &velnor::kValuesRetained;

CFTypeID CFDictionaryGetTypeID(void) {
    return DictionaryObject::StaticTypeID();
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks*,
                                                 const CFDictionaryValueCallBacks*) {
    return velnor::RefOf<CFMutableDictionaryRef>(new DictionaryObject({}, true));
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex,
                                                     CFDictionaryRef original) {
    auto entries = velnor::Share(Cast<DictionaryObject>(original).All());
    return velnor::RefOf<CFMutableDictionaryRef>(new DictionaryObject(std::move(entries), true));
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    return static_cast<CFIndex>(Cast<DictionaryObject>(dictionary).All().size());
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
    return CFDictionaryGetValue(dictionary, key) != nullptr;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const CFStringRef name = velnor::AsKey(key);
    return name == nullptr ? nullptr
                           : Cast<DictionaryObject>(dictionary).Find(velnor::TextOf(name));
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                      const void** value) {
    const void* found = CFDictionaryGetValue(dictionary, key);
    if (found != nullptr && value != nullptr) {
        *value = found;
    }
    return found != nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values) {
    for (const auto& [key, value] : Cast<DictionaryObject>(dictionary).All()) {
        if (keys != nullptr) {
            *keys++ = key.Get();
        }
        if (values != nullptr) {
            *values++ = value.Get();
        }
    }
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    if (const CFStringRef name = velnor::AsKey(key); name != nullptr && value != nullptr) {
        Cast<DictionaryObject>(dictionary).Add(name, value);
    }
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    if (const CFStringRef name = velnor::AsKey(key); name != nullptr && value != nullptr) {
        Cast<DictionaryObject>(dictionary).Set(name, value);
    }
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
    if (const CFStringRef name = velnor::AsKey(key); name != nullptr) {
        Cast<DictionaryObject>(dictionary).Remove(velnor::TextOf(name));
    }
}
