#include "platform/CFPropertyList.h"

#include "platform/plist/ForeignPropertyList.h"
#include "platform/plist/PropertyListReader.h"
#include "platform/plist/PropertyListSize.h"
#include "platform/plist/PropertyListWriter.h"
#include "platform/values/CFArrayObject.h"
#include "platform/values/CFDataObject.h"
#include "platform/values/CFDictionaryObject.h"

namespace velnor {
namespace {

using Copy = CFRef<CFTypeRef>;

Copy Adopt(const CFObject* object) {
    return Copy(RefOf<CFTypeRef>(object));
}

// Copies a tree of a property list's types.
class Copier {
public:
    explicit Copier(CFOptionFlags options)
        : mMutableContainers(options != kCFPropertyListImmutable),
          mMutableLeaves(options == kCFPropertyListMutableContainersAndLeaves) {}

    Copy Of(CFTypeRef value) const {
        if (const auto* dictionary = CastIf<DictionaryObject>(value)) {
            return OfDictionary(*dictionary);
        }
        if (const auto* array = CastIf<ArrayObject>(value)) {
            return OfArray(*array);
        }
        const auto* data = CastIf<DataObject>(value);
        if (data != nullptr && (mMutableLeaves || data->IsMutable())) {
            return Adopt(new DataObject(data->Bytes(), mMutableLeaves));
        }
        return Copy::Retained(value);
    }

private:
    Copy OfArray(const ArrayObject& array) const {
        ArrayObject::Items items;
        for (const auto& original : array.All()) {
            items.push_back(Of(original.Get()));
        }
        return Adopt(new ArrayObject(std::move(items), mMutableContainers));
    }

    Copy OfDictionary(const DictionaryObject& dictionary) const {
        DictionaryObject::Entries entries;
        for (const auto& [key, original] : dictionary.All()) {
            entries.emplace_hint(entries.end(), key.Share(), Of(original.Get()));
        }
        return Adopt(new DictionaryObject(std::move(entries), mMutableContainers));
    }

    bool mMutableContainers;
    bool mMutableLeaves;
};

// Empty for another object than data.
std::string_view FileOf(CFDataRef data) {
    const auto* object = CastIf<DataObject>(data);
    return object == nullptr
               ? std::string_view()
               : std::string_view(reinterpret_cast<const char*>(object->Bytes().data()),
                                  object->Bytes().size());
}

} // namespace
} // namespace velnor

CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef, CFPropertyListRef tree,
                                               CFOptionFlags options) {
    return velnor::SizeOfTree(tree) ? velnor::Copier(options).Of(tree).Detach() : nullptr;
}

CFDataRef CFPropertyListCreateData(CFAllocatorRef, CFPropertyListRef tree,
                                   CFPropertyListFormat format, CFOptionFlags, CFTypeRef*) {
    const auto file = velnor::WritePropertyList(tree, format);
    if (!file) {
        return nullptr;
    }
    return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(file->data()),
                        static_cast<CFIndex>(file->size()));
}

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data,
                                               CFOptionFlags options, CFPropertyListFormat* format,
                                               CFTypeRef*) {
    const std::string_view file = velnor::FileOf(data);
    return file.empty() ? nullptr : velnor::ReadPropertyList(file, options, format).Detach();
}

Boolean PlatformPropertyListIsForeign(CFDataRef data) {
    const std::string_view file = velnor::FileOf(data);
    return !velnor::ReadPropertyList(file, kCFPropertyListImmutable, nullptr) &&
           velnor::IsForeignPropertyList(file);
}
