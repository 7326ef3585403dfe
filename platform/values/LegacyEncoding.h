// The single-byte encoding kCFStringEncodingMacRoman, by the Unicode Consortium's published table.
// Every byte has a character, and no two bytes share one.
#ifndef VELNOR_PLATFORM_VALUES_LEGACYENCODING_H
#define VELNOR_PLATFORM_VALUES_LEGACYENCODING_H

#include <optional>

namespace velnor {

char32_t LegacyToScalar(unsigned char byte);

// Nothing when the encoding lacks the character.
std::optional<unsigned char> ScalarToLegacy(char32_t scalar);

} // namespace velnor

#endif
