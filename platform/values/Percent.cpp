#include "platform/values/Percent.h"

namespace velnor {
namespace {

std::optional<int> HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return lower - 'a' + 10;
    }
    return std::nullopt;
}

} // namespace

std::string PercentEncode(std::string_view bytes, bool (*keep)(unsigned char)) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (keep(byte)) {
            text.push_back(c);
        } else {
            text.push_back('%');
            text.push_back(kDigits[byte >> 4]);
            text.push_back(kDigits[byte & 0xF]);
        }
    }
    return text;
}

std::optional<std::string> PercentDecode(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            bytes.push_back(text[at]);
            continue;
        }
        const auto high = text.size() - at > 2 ? HexDigit(text[at + 1]) : std::nullopt;
        const auto low = high ? HexDigit(text[at + 2]) : std::nullopt;
        if (!low) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(*high << 4 | *low));
        at += 2;
    }
    return bytes;
}

} // namespace velnor
