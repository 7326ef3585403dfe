#include "platform/plist/PropertyListXmlLeaf.h"

#include <charconv>
#include <cstdint>
#include <optional>

namespace velnor {
namespace {

constexpr std::string_view kSpace = " \t\n\r";

std::string_view Trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kSpace);
    if (first == text.npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

bool Fits(std::uint64_t magnitude, bool negative) {
    return !negative || magnitude <= std::uint64_t{1} << 63;
}

bool IsInteger(std::string_view text) {
    text = Trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    std::uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, base);
    return error == std::errc() && end == text.data() + text.size() && Fits(magnitude, negative);
}

bool IsReal(std::string_view text) {
    text = Trimmed(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error != std::errc::invalid_argument && end == text.data() + text.size();
}

std::optional<int> TwoDigits(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + 2, value);
    if (error != std::errc() || end != text.data() + 2 || value < 0) {
        return std::nullopt;
    }
    return value;
}

// YYYY-MM-DDThh:mm:ssZ
bool IsDate(std::string_view text) {
    struct Field {
        std::size_t at;
        int least;
        int most;
        char after;
    };
    constexpr Field kFields[] = {{0, 0, 99, '\0'}, {2, 0, 99, '-'},  {5, 1, 12, '-'},
                                 {8, 1, 31, 'T'},  {11, 0, 23, ':'}, {14, 0, 59, ':'},
                                 {17, 0, 60, 'Z'}};
    text = Trimmed(text);
    if (text.size() != 20) {
        return false;
    }
    for (const Field& field : kFields) {
        const auto value = TwoDigits(text.substr(field.at));
        if (!value || *value < field.least || *value > field.most ||
            (field.after != '\0' && text[field.at + 2] != field.after)) {
            return false;
        }
    }
    return true;
}

bool IsBase64(std::string_view text) {
    for (const char c : text) {
        const char lower = static_cast<char>(c | 0x20);
        const bool known = (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
                           c == '/' || c == '=' || kSpace.find(c) != kSpace.npos;
        if (!known) {
            return false;
        }
    }
    return true;
}

} // namespace

bool IsXmlLeafText(std::string_view element, std::string_view text) {
    if (element == "integer") {
        return IsInteger(text);
    }
    if (element == "real") {
        return IsReal(text);
    }
    if (element == "date") {
        return IsDate(text);
    }
    if (element == "data") {
        return IsBase64(text);
    }
    return element == "string" || element == "key" || Trimmed(text).empty();
}

} // namespace velnor
