#include "platform/plist/PropertyListEncoding.h"

#include "platform/values/Unicode.h"

#include <algorithm>
#include <array>

namespace velnor {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kSpace = " \t\r\n";

// Units of two or four bytes.
struct Form {
    std::size_t mark; // bytes of the byte order mark
    std::size_t size;
    bool isBigEndian;
};

std::optional<Form> WideForm(std::string_view file) {
    constexpr std::array<std::pair<std::string_view, Form>, 4> kMarks = {
        {{"\0\0\xFE\xFF"sv, {4, 4, true}},
         {"\xFF\xFE\0\0"sv, {4, 4, false}},
         {"\xFE\xFF"sv, {2, 2, true}},
         {"\xFF\xFE"sv, {2, 2, false}}}};
    for (const auto& [mark, form] : kMarks) {
        if (file.starts_with(mark)) {
            return form;
        }
    }
    const auto isZero = [file](std::size_t at) { return at < file.size() && file[at] == '\0'; };
    if (isZero(0) || isZero(1)) {
        const bool isBigEndian = isZero(0);
        const bool isFour = isBigEndian ? isZero(1) : isZero(2) && isZero(3);
        return Form{0, isFour ? 4U : 2U, isBigEndian};
    }
    return std::nullopt;
}

char32_t UnitAt(std::string_view file, std::size_t at, const Form& form) {
    char32_t unit = 0;
    for (std::size_t i = 0; i < form.size; ++i) {
        const std::size_t place = form.isBigEndian ? i : form.size - 1 - i;
        unit = unit << 8 | static_cast<unsigned char>(file[at + place]);
    }
    return unit;
}

// The scalar at the position, and how many bytes it takes. A lone high surrogate takes the next
// character with it, as for readers that look at the first half of a pair alone.
std::optional<DecodedScalar> ScalarAt(std::string_view file, std::size_t at, const Form& form) {
    const char32_t unit = UnitAt(file, at, form);
    if (form.size == 4) {
        const bool isScalar = unit < 0xD800 || (unit >= 0xE000 && unit <= 0x10FFFF);
        return isScalar ? std::optional(DecodedScalar{unit, form.size}) : std::nullopt;
    }
    UniChar units[2] = {static_cast<UniChar>(unit), 0};
    const std::size_t count = file.size() - at < 2 * form.size ? 1 : 2;
    if (count == 2) {
        units[1] = static_cast<UniChar>(UnitAt(file, at + form.size, form));
    }
    if (auto decoded = DecodeUtf16(units, count)) {
        decoded->length *= form.size;
        return decoded;
    }
    const bool isHigh = unit < 0xDC00;
    const bool takesNext = isHigh && count == 2 && units[1] != '<';
    return DecodedScalar{0xFFFD, (takesNext ? 2 : 1) * form.size};
}

// The value of the attribute in the declaration, empty when it has none.
std::string_view ValueOf(std::string_view attribute, std::string_view declaration) {
    for (auto at = declaration.find(attribute); at != declaration.npos;
         at = declaration.find(attribute, at + 1)) {
        auto rest = declaration.substr(at + attribute.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(kSpace), rest.size()));
        if (!rest.starts_with('=')) {
            continue;
        }
        rest.remove_prefix(1);
        rest.remove_prefix(std::min(rest.find_first_not_of(kSpace), rest.size()));
        if (rest.starts_with('"') || rest.starts_with('\'')) {
            return rest.substr(1, rest.find(rest[0], 1) - 1);
        }
    }
    return {};
}

bool IsSame(std::string_view name, std::string_view upper) {
    return std::equal(name.begin(), name.end(), upper.begin(), upper.end(), [](char a, char b) {
        return a == b || (a >= 'a' && a <= 'z' && a - 'a' + 'A' == b);
    });
}

} // namespace

std::optional<std::string> UnmarkedText(std::string_view file) {
    const auto form = WideForm(file);
    if (!form) {
        return std::string(file.substr(file.starts_with(kUtf8Mark) ? kUtf8Mark.size() : 0));
    }
    if (file.size() % form->size != 0) {
        return std::nullopt;
    }
    std::string text;
    for (std::size_t at = form->mark; at < file.size();) {
        const auto next = ScalarAt(file, at, *form);
        if (!next) {
            return std::nullopt;
        }
        AppendUtf8(text, next->scalar);
        at += next->length;
    }
    return text;
}

bool DeclaresUtf8(std::string_view document) {
    if (!document.starts_with("<?xml")) {
        return true;
    }
    const auto name = ValueOf("encoding", document.substr(0, document.find("?>")));
    constexpr std::array<std::string_view, 4> kNames = {"UTF-8", "UTF8", "US-ASCII", "ASCII"};
    return name.empty() || std::any_of(kNames.begin(), kNames.end(),
                                       [name](auto upper) { return IsSame(name, upper); });
}

} // namespace velnor
