#include "platform/plist/PropertyListReader.h"

#include "platform/plist/PlistNode.h"
#include "platform/plist/PropertyListBinary.h"
#include "platform/plist/PropertyListSize.h"
#include "platform/plist/PropertyListUid.h"
#include "platform/plist/PropertyListXml.h"
#include "platform/values/CFArrayObject.h"
#include "platform/values/CFDataObject.h"
#include "platform/values/CFDateObject.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFNumberObject.h"
#include "platform/values/CFStringObject.h"

#include <cstdlib>
#include <limits>

namespace velnor {
namespace {

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Allocated = std::unique_ptr<T, FreeMemory>;

CFRef<CFTypeRef> Adopt(const CFObject* object) {
    return CFRef<CFTypeRef>(RefOf<CFTypeRef>(object));
}

// Makes values of the library's nodes. Each function gives an empty reference for what it cannot
// take. The depth is limited by the checks that stand before the library.
class Reader {
public:
    explicit Reader(CFOptionFlags options)
        : mMutableContainers(options != kCFPropertyListImmutable),
          mMutableLeaves(options == kCFPropertyListMutableContainersAndLeaves) {}

    CFRef<CFTypeRef> Read(plist_t node) const {
        switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN:
            return ReadBoolean(node);
        case PLIST_UINT:
            return ReadInteger(node);
        case PLIST_REAL:
            return ReadReal(node);
        case PLIST_STRING:
            return ReadString(node);
        case PLIST_DATA:
            return ReadData(node);
        case PLIST_DATE:
            return Adopt(new DateObject(DateOf(node)));
        case PLIST_UID:
            return ReadUid(node);
        case PLIST_ARRAY:
            return ReadArray(node);
        case PLIST_DICT:
            return ReadDictionary(node);
        default:
            return {};
        }
    }

private:
    static CFRef<CFTypeRef> ReadBoolean(plist_t node) {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return CFRef<CFTypeRef>::Retained(value != 0 ? kCFBooleanTrue : kCFBooleanFalse);
    }

    static CFRef<CFTypeRef> ReadInteger(plist_t node) {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<SInt64>::max());
        if (value > kMost && IsUnsigned(node)) {
            return Adopt(new NumberObject(kCFNumberSInt64Type, UInt64{value}));
        }
        return Adopt(new NumberObject(kCFNumberSInt64Type, static_cast<SInt64>(value)));
    }

    static CFRef<CFTypeRef> ReadReal(plist_t node) {
        double value = 0;
        plist_get_real_val(node, &value);
        return Adopt(new NumberObject(kCFNumberFloat64Type, value));
    }

    static CFRef<CFTypeRef> ReadString(plist_t node) {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        if (text == nullptr) {
            return {};
        }
        return CFRef<CFTypeRef>(CreateString({text, static_cast<std::size_t>(length)}));
    }

    CFRef<CFTypeRef> ReadData(plist_t node) const {
        std::uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(node, &length);
        return Adopt(new DataObject({bytes, bytes + length}, mMutableLeaves));
    }

    static CFRef<CFTypeRef> ReadUid(plist_t node) {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return Adopt(new UidObject(value));
    }

    CFRef<CFTypeRef> ReadArray(plist_t node) const {
        plist_array_iter raw = nullptr;
        plist_array_new_iter(node, &raw);
        const Allocated<void> iterator(raw);
        ArrayObject::Items items;
        for (;;) {
            plist_t child = nullptr;
            plist_array_next_item(node, raw, &child);
            if (child == nullptr) {
                return Adopt(new ArrayObject(std::move(items), mMutableContainers));
            }
            auto item = Read(child);
            if (!item) {
                return {};
            }
            items.push_back(std::move(item));
        }
    }

    CFRef<CFTypeRef> ReadDictionary(plist_t node) const {
        plist_dict_iter raw = nullptr;
        plist_dict_new_iter(node, &raw);
        const Allocated<void> iterator(raw);
        DictionaryObject::Entries entries;
        for (;;) {
            char* name = nullptr;
            plist_t child = nullptr;
            plist_dict_next_item(node, raw, &name, &child);
            const Allocated<char> owner(name);
            if (child == nullptr) {
                return Adopt(new DictionaryObject(std::move(entries), mMutableContainers));
            }
            CFRef<CFStringRef> key(name == nullptr ? nullptr : CreateString(name));
            auto value = Read(child);
            if (!key || !value) {
                return {};
            }
            entries.insert_or_assign(std::move(key), std::move(value));
        }
    }

    bool mMutableContainers;
    bool mMutableLeaves;
};

PlistNode ParseBinary(std::string_view file) {
    plist_t root = nullptr;
    if (IsSoundBinaryPropertyList(file)) {
        plist_from_bin(file.data(), static_cast<std::uint32_t>(file.size()), &root);
    }
    return PlistNode(root);
}

PlistNode ParseXml(std::string_view file) {
    plist_t root = nullptr;
    if (const auto text = PreparedXml(file)) {
        const PointLocale point;
        plist_from_xml(text->data(), static_cast<std::uint32_t>(text->size()), &root);
    }
    return PlistNode(root);
}

} // namespace

CFRef<CFTypeRef> ReadPropertyList(std::string_view file, CFOptionFlags options,
                                  CFPropertyListFormat* format) {
    const bool isBinary = file.starts_with(kBinaryPropertyListMagic);
    const PlistNode root = isBinary ? ParseBinary(file) : ParseXml(file);
    if (!root) {
        return {};
    }
    auto tree = Reader(options).Read(root.get());
    if (!SizeOfTree(tree.Get())) {
        return {};
    }
    if (format != nullptr) {
        *format = isBinary ? kCFPropertyListBinaryFormat_v1_0 : kCFPropertyListXMLFormat_v1_0;
    }
    return tree;
}

} // namespace velnor
