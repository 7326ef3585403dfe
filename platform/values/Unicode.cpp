#include "platform/values/Unicode.h"

namespace velnor {
namespace {

constexpr char32_t kFirstSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kPastSurrogates = 0xE000;
constexpr char32_t kFirstSupplementary = 0x10000;
constexpr char32_t kLastScalar = 0x10FFFF;

struct LeadByte {
    std::size_t length;
    char32_t bits;
    char32_t smallest; // the least value that needs this length
};

std::optional<LeadByte> ReadLeadByte(unsigned char byte) {
    if (byte < 0x80) {
        return LeadByte{1, byte, 0};
    }
    if (byte >= 0xC2 && byte < 0xE0) {
        return LeadByte{2, byte & 0x1FU, 0x80};
    }
    if (byte >= 0xE0 && byte < 0xF0) {
        return LeadByte{3, byte & 0x0FU, 0x800};
    }
    if (byte >= 0xF0 && byte < 0xF5) {
        return LeadByte{4, byte & 0x07U, kFirstSupplementary};
    }
    return std::nullopt;
}

bool IsScalar(char32_t value) {
    return value < kFirstSurrogate || (value >= kPastSurrogates && value <= kLastScalar);
}

} // namespace

std::optional<DecodedScalar> DecodeUtf8(std::string_view text) {
    const auto lead = ReadLeadByte(static_cast<unsigned char>(text[0]));
    if (!lead || text.size() < lead->length) {
        return std::nullopt;
    }
    char32_t scalar = lead->bits;
    for (std::size_t i = 1; i < lead->length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) != 0x80) {
            return std::nullopt;
        }
        scalar = scalar << 6 | (byte & 0x3FU);
    }
    if (scalar < lead->smallest || !IsScalar(scalar)) {
        return std::nullopt;
    }
    return DecodedScalar{scalar, lead->length};
}

std::optional<DecodedScalar> DecodeUtf16(const UniChar* units, std::size_t count) {
    const char32_t first = units[0];
    if (IsScalar(first)) {
        return DecodedScalar{first, 1};
    }
    if (first >= kFirstLowSurrogate || count < 2 || units[1] < kFirstLowSurrogate ||
        units[1] >= kPastSurrogates) {
        return std::nullopt;
    }
    const char32_t high = first - kFirstSurrogate;
    return DecodedScalar{kFirstSupplementary + (high << 10) + (units[1] - kFirstLowSurrogate), 2};
}

void AppendUtf8(std::string& text, char32_t scalar) {
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (scalar < 0x80) {
        put(scalar);
        return;
    }
    if (scalar < 0x800) {
        put(0xC0 | scalar >> 6);
    } else if (scalar < kFirstSupplementary) {
        put(0xE0 | scalar >> 12);
        put(0x80 | (scalar >> 6 & 0x3F));
    } else {
        put(0xF0 | scalar >> 18);
        put(0x80 | (scalar >> 12 & 0x3F));
        put(0x80 | (scalar >> 6 & 0x3F));
    }
    put(0x80 | (scalar & 0x3F));
}

std::size_t EncodeUtf16(char32_t scalar, UniChar units[2]) {
    if (scalar < kFirstSupplementary) {
        units[0] = static_cast<UniChar>(scalar);
        return 1;
    }
    const char32_t offset = scalar - kFirstSupplementary;
    units[0] = static_cast<UniChar>(kFirstSurrogate + (offset >> 10));
    units[1] = static_cast<UniChar>(kFirstLowSurrogate + (offset & 0x3FF));
    return 2;
}

std::optional<std::size_t> Utf16Length(std::string_view text) {
    std::size_t units = 0;
    while (!text.empty()) {
        const auto next = DecodeUtf8(text);
        if (!next) {
            return std::nullopt;
        }
        units += next->scalar < kFirstSupplementary ? 1 : 2;
        text.remove_prefix(next->length);
    }
    return units;
}

} // namespace velnor
