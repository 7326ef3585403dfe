#include "platform/values/UrlSyntax.h"

#include "platform/values/Percent.h"

#include <algorithm>

namespace velnor {
namespace {

bool IsAlpha(unsigned char c) {
    return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}
bool IsDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}
bool IsOneOf(unsigned char c, std::string_view set) {
    return set.find(static_cast<char>(c)) != set.npos;
}

bool IsUnreservedOrSubDelim(unsigned char c) {
    return IsAlpha(c) || IsDigit(c) || IsOneOf(c, "-._~!$&'()*+,;=");
}

// Each byte stands for itself, is of extra, or belongs to a well-formed percent triplet.
bool IsMadeOf(std::string_view text, std::string_view extra) {
    return PercentDecode(text).has_value() &&
           std::all_of(text.begin(), text.end(), [extra](char c) {
               const auto byte = static_cast<unsigned char>(c);
               return IsUnreservedOrSubDelim(byte) || byte == '%' || IsOneOf(byte, extra);
           });
}

bool IsScheme(std::string_view text) {
    return !text.empty() && IsAlpha(static_cast<unsigned char>(text[0])) &&
           std::all_of(text.begin(), text.end(), [](char c) {
               const auto byte = static_cast<unsigned char>(c);
               return IsAlpha(byte) || IsDigit(byte) || IsOneOf(byte, "+-.");
           });
}

bool IsPort(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return IsDigit(static_cast<unsigned char>(c)); });
}

// A host in brackets is an address with colons.
bool IsHostAndPort(std::string_view text) {
    std::size_t end = text.find(':');
    if (text.starts_with('[')) {
        end = text.find(']');
        if (end == text.npos || !IsMadeOf(text.substr(1, end - 1), ":")) {
            return false;
        }
        ++end;
    } else if (!IsMadeOf(text.substr(0, end), "")) {
        return false;
    }
    const auto rest = text.substr(std::min(end, text.size()));
    return rest.empty() || (rest[0] == ':' && IsPort(rest.substr(1)));
}

bool IsAuthority(std::string_view text) {
    const auto at = text.find('@');
    if (at == text.npos) {
        return IsHostAndPort(text);
    }
    return IsMadeOf(text.substr(0, at), ":") && IsHostAndPort(text.substr(at + 1));
}

// Takes what stands before the first of the delimiters off the front.
std::string_view TakeUntil(std::string_view& text, std::string_view delimiters) {
    const auto head = text.substr(0, text.find_first_of(delimiters));
    text.remove_prefix(head.size());
    return head;
}

} // namespace

std::optional<UrlParts> SplitUrl(std::string_view text) {
    UrlParts parts;
    parts.scheme = TakeUntil(text, ":");
    if (text.empty() || !IsScheme(parts.scheme)) {
        return std::nullopt;
    }
    text.remove_prefix(1);
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        parts.authority = TakeUntil(text, "/?#");
        if (!IsAuthority(*parts.authority)) {
            return std::nullopt;
        }
    }
    parts.path = TakeUntil(text, "?#");
    if (!IsMadeOf(parts.path, ":@/")) {
        return std::nullopt;
    }
    if (text.starts_with('?') && !IsMadeOf(TakeUntil(text, "#").substr(1), ":@/?")) {
        return std::nullopt;
    }
    if (text.starts_with('#') && !IsMadeOf(text.substr(1), ":@/?")) {
        return std::nullopt;
    }
    return parts;
}

bool IsUrlPathByte(unsigned char byte) {
    return IsUnreservedOrSubDelim(byte) || IsOneOf(byte, ":@/");
}

} // namespace velnor
