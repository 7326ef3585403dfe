// Unicode scalar values and their UTF-8 and UTF-16 forms.
#ifndef VELNOR_PLATFORM_VALUES_UNICODE_H
#define VELNOR_PLATFORM_VALUES_UNICODE_H

#include "platform/Types.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velnor {

// One scalar value taken from the front of a text; length is what it occupied there.
struct DecodedScalar {
    char32_t scalar;
    std::size_t length;
};

// Nothing when the text, which may not be empty, does not start with well-formed UTF-8: overlong
// forms, surrogates and values above U+10FFFF are not.
std::optional<DecodedScalar> DecodeUtf8(std::string_view text);

// Nothing when the units, of which there is one at least, start with a lone surrogate.
std::optional<DecodedScalar> DecodeUtf16(const UniChar* units, std::size_t count);

void AppendUtf8(std::string& text, char32_t scalar);

// Writes one unit or two and gives their number.
std::size_t EncodeUtf16(char32_t scalar, UniChar units[2]);

// The number of UTF-16 units of a text; nothing when it is not well-formed UTF-8.
std::optional<std::size_t> Utf16Length(std::string_view text);

} // namespace velnor

#endif
