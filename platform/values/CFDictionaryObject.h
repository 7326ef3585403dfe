// The object behind CFDictionaryRef.
#ifndef VELNOR_PLATFORM_VALUES_CFDICTIONARYOBJECT_H
#define VELNOR_PLATFORM_VALUES_CFDICTIONARYOBJECT_H

#include "platform/CFDictionary.h"
#include "platform/CFRef.h"
#include "platform/values/CFObject.h"
#include "platform/values/CFStringObject.h"

#include <map>
#include <string_view>

namespace velnor {

class DictionaryObject final : public CFObjectOf<DictionaryObject> {
public:
    // Orders keys by the bytes of their UTF-8 form.
    struct KeyOrder {
        using is_transparent = void;
        static std::string_view Text(const CFRef<CFStringRef>& key) { return TextOf(key.Get()); }
        static std::string_view Text(std::string_view key) { return key; }
        template <class A, class B>
        bool operator()(const A& a, const B& b) const {
            return Text(a) < Text(b);
        }
    };
    using Entries = std::map<CFRef<CFStringRef>, CFRef<CFTypeRef>, KeyOrder>;

    DictionaryObject(Entries entries, bool isMutable)
        : mEntries(std::move(entries)), mMutable(isMutable) {}

    const Entries& All() const { return mEntries; }
    bool IsMutable() const { return mMutable; }
    // The borrowed value, or null.
    CFTypeRef Find(std::string_view key) const;
    // These do nothing to an immutable object. key and value may not be null.
    void Add(CFStringRef key, CFTypeRef value);
    void Set(CFStringRef key, CFTypeRef value);
    void Remove(std::string_view key);

    bool Equals(const CFObject& other) const override;
    void ForEachChild(const std::function<void(CFObject&)>& visit) const override;

private:
    Entries mEntries;
    bool mMutable;
};

} // namespace velnor

#endif
