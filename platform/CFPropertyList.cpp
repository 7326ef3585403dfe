#include "platform/CFPropertyList.h"

#include "platform/CFArrayObject.h"
#include "platform/CFDataObject.h"
#include "platform/CFDateObject.h"
#include "platform/CFDictionaryObject.h"
#include "platform/CFNumberObject.h"
#include "platform/CFStringObject.h"
#include "platform/PropertyListLimits.h"
#include "platform/PropertyListReader.h"
#include "platform/PropertyListUid.h"
#include "platform/PropertyListWriter.h"

namespace velnor {
namespace {

using Copy = CFRef<CFTypeRef>;

Copy Adopt(const CFObject* object) {
    return Copy(RefOf<CFTypeRef>(object));
}

class Copier {
public:
    explicit Copier(CFOptionFlags options)
        : mMutableContainers(options != kCFPropertyListImmutable),
          mMutableLeaves(options == kCFPropertyListMutableContainersAndLeaves) {}

    Copy Of(CFTypeRef value, int depth) const {
        if (const auto* dictionary = CastIf<DictionaryObject>(value)) {
            return depth < kMaxPropertyListDepth ? OfDictionary(*dictionary, depth) : Copy();
        }
        if (const auto* array = CastIf<ArrayObject>(value)) {
            return depth < kMaxPropertyListDepth ? OfArray(*array, depth) : Copy();
        }
        if (const auto* data = CastIf<DataObject>(value)) {
            return OfData(*data);
        }
        return IsUnchanging(value) ? Copy::Retained(value) : Copy();
    }

private:
    static bool IsUnchanging(CFTypeRef value) {
        return CastIf<StringObject>(value) != nullptr || CastIf<NumberObject>(value) != nullptr ||
               CastIf<BooleanObject>(value) != nullptr || CastIf<DateObject>(value) != nullptr ||
               CastIf<UidObject>(value) != nullptr;
    }

    Copy OfData(const DataObject& data) const {
        if (!mMutableLeaves && !data.IsMutable()) {
            return Copy::Retained(RefOf<CFTypeRef>(&data));
        }
        return Adopt(new DataObject(data.Bytes(), mMutableLeaves));
    }

    Copy OfArray(const ArrayObject& array, int depth) const {
        ArrayObject::Items items;
        for (const auto& original : array.All()) {
            Copy item = Of(original.Get(), depth + 1);
            if (!item) {
                return {};
            }
            items.push_back(std::move(item));
        }
        return Adopt(new ArrayObject(std::move(items), mMutableContainers));
    }

    Copy OfDictionary(const DictionaryObject& dictionary, int depth) const {
        DictionaryObject::Entries entries;
        for (const auto& [key, original] : dictionary.All()) {
            Copy value = Of(original.Get(), depth + 1);
            if (!value) {
                return {};
            }
            entries.emplace_hint(entries.end(), key.Share(), std::move(value));
        }
        return Adopt(new DictionaryObject(std::move(entries), mMutableContainers));
    }

    bool mMutableContainers;
    bool mMutableLeaves;
};

} // namespace
} // namespace velnor

CFPropertyListRef CFPropertyListCreateDeepCopy(CFAllocatorRef, CFPropertyListRef tree,
                                               CFOptionFlags options) {
    return velnor::Copier(options).Of(tree, 0).Detach();
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
    const auto* object = velnor::CastIf<velnor::DataObject>(data);
    if (object == nullptr || object->Bytes().empty()) {
        return nullptr;
    }
    const auto& bytes = object->Bytes();
    return velnor::ReadPropertyList({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
                                    options, format)
        .Detach();
}
