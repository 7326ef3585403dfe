#include "platform/plist/PropertyListWriter.h"

#include "platform/plist/PlistNode.h"
#include "platform/plist/PropertyListSize.h"
#include "platform/plist/PropertyListUid.h"
#include "platform/plist/PropertyListXml.h"
#include "platform/values/CFArrayObject.h"
#include "platform/values/CFDataObject.h"
#include "platform/values/CFDateObject.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFNumberObject.h"
#include "platform/values/CFStringObject.h"

#include <cmath>

namespace velnor {
namespace {

// The years 1000 to 9999, whose XML form has four digits.
constexpr double kFirstXmlDate = -31588531200.0;
constexpr double kPastXmlDates = 252423993600.0;

// Makes the library's nodes of a tree of bearable size. Each function gives null for what has no
// place in the form.
class Writer {
public:
    explicit Writer(bool isXml) : mIsXml(isXml) {}

    PlistNode Write(CFTypeRef value) const {
        if (const auto* string = CastIf<StringObject>(value)) {
            return WriteString(string->Text());
        }
        if (const auto* number = CastIf<NumberObject>(value)) {
            return std::visit([](auto n) { return NodeOfNumber(n); }, number->Value());
        }
        if (const auto* boolean = CastIf<BooleanObject>(value)) {
            return PlistNode(plist_new_bool(boolean->Value()));
        }
        if (const auto* dictionary = CastIf<DictionaryObject>(value)) {
            return WriteDictionary(*dictionary);
        }
        if (const auto* array = CastIf<ArrayObject>(value)) {
            return WriteArray(*array);
        }
        if (const auto* data = CastIf<DataObject>(value)) {
            return WriteData(data->Bytes());
        }
        if (const auto* date = CastIf<DateObject>(value)) {
            return WriteDate(date->At());
        }
        if (const auto* uid = CastIf<UidObject>(value)) {
            return PlistNode(mIsXml ? nullptr : plist_new_uid(uid->Value()));
        }
        return nullptr;
    }

private:
    static PlistNode NodeOfNumber(SInt64 value) {
        return PlistNode(plist_new_uint(static_cast<std::uint64_t>(value)));
    }
    static PlistNode NodeOfNumber(double value) { return PlistNode(plist_new_real(value)); }
    static PlistNode NodeOfNumber(UInt64 value) { return UnsignedNode(value); }

    bool Fits(const std::string& text) const {
        return mIsXml ? FitsXml(text) : text.find('\0') == std::string::npos;
    }

    PlistNode WriteString(const std::string& text) const {
        return PlistNode(Fits(text) ? plist_new_string(text.c_str()) : nullptr);
    }

    static PlistNode WriteData(const std::vector<UInt8>& bytes) {
        const char* start = bytes.empty() ? "" : reinterpret_cast<const char*>(bytes.data());
        return PlistNode(plist_new_data(start, bytes.size()));
    }

    PlistNode WriteDate(double at) const {
        if (!mIsXml) {
            return DateNode(at);
        }
        const bool hasForm = at >= kFirstXmlDate && at < kPastXmlDates;
        return hasForm ? DateNode(std::floor(at)) : nullptr;
    }

    PlistNode WriteArray(const ArrayObject& array) const {
        PlistNode node(plist_new_array());
        for (const auto& item : array.All()) {
            PlistNode child = Write(item.Get());
            if (!child) {
                return nullptr;
            }
            plist_array_append_item(node.get(), child.release());
        }
        return node;
    }

    PlistNode WriteDictionary(const DictionaryObject& dictionary) const {
        PlistNode node(plist_new_dict());
        for (const auto& [key, value] : dictionary.All()) {
            const std::string& name = TextOf(key.Get());
            PlistNode child = Fits(name) ? Write(value.Get()) : nullptr;
            if (!child) {
                return nullptr;
            }
            plist_dict_set_item(node.get(), name.c_str(), child.release());
        }
        return node;
    }

    bool mIsXml;
};

} // namespace

std::optional<std::string> WritePropertyList(CFPropertyListRef tree, CFPropertyListFormat format) {
    const bool isXml = format == kCFPropertyListXMLFormat_v1_0;
    if ((!isXml && format != kCFPropertyListBinaryFormat_v1_0) || !SizeOfTree(tree)) {
        return std::nullopt;
    }
    const PlistNode root = Writer(isXml).Write(tree);
    if (!root) {
        return std::nullopt;
    }
    const PointLocale point;
    std::string file = isXml ? FinishedXml(XmlOf(root.get())) : BinaryOf(root.get());
    if (file.empty() || file.size() > kMaxPropertyListBytes) {
        return std::nullopt;
    }
    return file;
}

} // namespace velnor
