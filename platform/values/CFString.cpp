#include "platform/CFString.h"

#include "platform/values/CFStringObject.h"
#include "platform/values/LegacyEncoding.h"
#include "platform/values/Unicode.h"

#include <cstring>
#include <limits>
#include <optional>

using velnor::Cast;
using velnor::StringObject;

namespace velnor {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsAscii(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            return false;
        }
    }
    return true;
}

std::string LegacyToUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        AppendUtf8(text, LegacyToScalar(static_cast<unsigned char>(c)));
    }
    return text;
}

std::optional<std::string> Utf8ToLegacy(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const auto next = DecodeUtf8(text);
        const auto byte = next ? ScalarToLegacy(next->scalar) : std::nullopt;
        if (!byte) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<char>(*byte));
        text.remove_prefix(next->length);
    }
    return bytes;
}

std::optional<std::string> Encode(const std::string& text, CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return text;
    case kCFStringEncodingASCII:
        return IsAscii(text) ? std::optional(text) : std::nullopt;
    case kCFStringEncodingMacRoman:
        return Utf8ToLegacy(text);
    default:
        return std::nullopt;
    }
}

CFStringRef CreateDecoded(std::string_view bytes, CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return CreateString(bytes);
    case kCFStringEncodingASCII:
        return IsAscii(bytes) ? CreateString(bytes) : nullptr;
    case kCFStringEncodingMacRoman:
        return CreateString(LegacyToUtf8(bytes));
    default:
        return nullptr;
    }
}

} // namespace

CFStringRef CreateString(std::string_view utf8) {
    const auto units = Utf16Length(utf8);
    if (!units) {
        return nullptr;
    }
    return RefOf<CFStringRef>(new StringObject(std::string(utf8), *units));
}

CFStringRef ImmortalString(std::string_view utf8) noexcept {
    const CFStringRef string = CreateString(utf8);
    ObjectOf(string).MakeImmortal();
    return string;
}

} // namespace velnor

CFStringEncoding CFStringGetSystemEncoding(void) {
    return kCFStringEncodingMacRoman;
}

CFTypeID CFStringGetTypeID(void) {
    return StringObject::StaticTypeID();
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* bytes,
                                      CFStringEncoding encoding) {
    return bytes == nullptr ? nullptr : velnor::CreateDecoded(bytes, encoding);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (length < 0 || (bytes == nullptr && length != 0)) {
        return nullptr;
    }
    std::string_view text;
    if (length != 0) {
        text = {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)};
    }
    if (isExternalRepresentation && encoding == kCFStringEncodingUTF8 &&
        text.starts_with(velnor::kByteOrderMark)) {
        text.remove_prefix(velnor::kByteOrderMark.size());
    }
    return velnor::CreateDecoded(text, encoding);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* units, CFIndex count) {
    if (count < 0 || (units == nullptr && count != 0)) {
        return nullptr;
    }
    const auto total = static_cast<std::size_t>(count);
    std::string text;
    for (std::size_t at = 0; at < total;) {
        const auto next = velnor::DecodeUtf16(units + at, total - at);
        if (!next) {
            return nullptr;
        }
        velnor::AppendUtf8(text, next->scalar);
        at += next->length;
    }
    return velnor::RefOf<CFStringRef>(new StringObject(std::move(text), total));
}

CFIndex CFStringGetLength(CFStringRef string) {
    return static_cast<CFIndex>(Cast<StringObject>(string).Units());
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* units) {
    std::string_view rest = velnor::TextOf(string);
    const CFIndex end = range.location + range.length;
    for (CFIndex at = 0; at < end && !rest.empty();) {
        const auto next = velnor::DecodeUtf8(rest);
        if (!next) {
            return;
        }
        UniChar pair[2];
        const auto count = velnor::EncodeUtf16(next->scalar, pair);
        for (std::size_t i = 0; i < count; ++i, ++at) {
            if (at >= range.location && at < end) {
                units[at - range.location] = pair[i];
            }
        }
        rest.remove_prefix(next->length);
    }
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex size,
                           CFStringEncoding encoding) {
    const auto bytes = velnor::Encode(velnor::TextOf(string), encoding);
    if (!bytes || size <= 0 || bytes->size() >= static_cast<std::size_t>(size) ||
        bytes->find('\0') != std::string::npos) {
        return false;
    }
    std::memcpy(buffer, bytes->c_str(), bytes->size() + 1);
    return true;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    // A unit outside the surrogates takes three bytes of UTF-8 at most, a pair of them four.
    const CFIndex perUnit = encoding == kCFStringEncodingUTF8 ? 3 : 1;
    const CFIndex most = std::numeric_limits<CFIndex>::max() / perUnit;
    return length > most ? std::numeric_limits<CFIndex>::max() : length * perUnit;
}
