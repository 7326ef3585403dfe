// The character encodings of text files that hold property lists.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTENCODING_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTENCODING_H

#include <optional>
#include <string>
#include <string_view>

namespace velnor {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

// The file's text without a byte order mark: UTF-16 and UTF-32, told by their mark or by the zeros
// of their first character, in UTF-8 with U+FFFD for lone surrogates; anything else as it is.
// Nothing when such a file is cut within a unit or holds numbers that are no characters.
std::optional<std::string> UnmarkedText(std::string_view file);

// Whether the document is UTF-8 by what it declares itself: an XML declaration without another
// encoding, or none.
bool DeclaresUtf8(std::string_view document);

} // namespace velnor

#endif
