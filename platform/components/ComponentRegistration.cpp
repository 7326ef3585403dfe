#include "platform/components/ComponentRegistration.h"

#include "platform/values/CFArrayObject.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CFNumberObject.h"
#include "platform/values/CFStringObject.h"

#include <algorithm>
#include <optional>

namespace velnor {
namespace {

constexpr std::string_view kComponentsKey = "VelnorComponents";

const std::string* FindText(const DictionaryObject& entry, std::string_view key) {
    const auto* text = CastIf<StringObject>(entry.Find(key));
    return text != nullptr ? &text->Text() : nullptr;
}

std::optional<OSType> FindCode(const DictionaryObject& entry, std::string_view key) {
    const std::string* text = FindText(entry, key);
    const auto printable = [](char c) { return c >= ' ' && c <= '~'; };
    if (text == nullptr || text->size() != 4 ||
        !std::all_of(text->begin(), text->end(), printable)) {
        return std::nullopt;
    }
    return VELNOR_FOUR_CHAR_CODE((*text)[0], (*text)[1], (*text)[2], (*text)[3]);
}

SInt32 FindVersion(const DictionaryObject& entry) {
    const auto* number = CastIf<NumberObject>(entry.Find("version"));
    SInt32 version = 0;
    const bool exact = number != nullptr && CFNumberGetValue(RefOf<CFNumberRef>(number),
                                                             kCFNumberSInt32Type, &version) != 0;
    return exact ? version : 0;
}

std::optional<ComponentRegistration> ReadRegistration(const DictionaryObject& entry) {
    const auto type = FindCode(entry, "type");
    const auto subType = FindCode(entry, "subtype");
    const auto manufacturer = FindCode(entry, "manufacturer");
    const std::string* function = FindText(entry, "entry");
    if (!type || !subType || !manufacturer || function == nullptr || function->empty()) {
        return std::nullopt;
    }
    const std::string* name = FindText(entry, "name");
    return ComponentRegistration{*type,
                                 *subType,
                                 *manufacturer,
                                 *function,
                                 name != nullptr ? *name : *function,
                                 FindVersion(entry)};
}

} // namespace

std::vector<ComponentRegistration> ReadRegistrations(CFDictionaryRef info) {
    std::vector<ComponentRegistration> registrations;
    const auto* dictionary = CastIf<DictionaryObject>(info);
    const auto* list =
        dictionary != nullptr ? CastIf<ArrayObject>(dictionary->Find(kComponentsKey)) : nullptr;
    if (list == nullptr) {
        return registrations;
    }
    for (const auto& item : list->All()) {
        const auto* entry = CastIf<DictionaryObject>(item.Get());
        auto registration = entry != nullptr ? ReadRegistration(*entry) : std::nullopt;
        if (registration) {
            registrations.push_back(std::move(*registration));
        }
    }
    return registrations;
}

} // namespace velnor
