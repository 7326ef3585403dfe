// Percent-encoding of bytes (RFC 3986, section 2.1).
#ifndef VELNOR_PLATFORM_VALUES_PERCENT_H
#define VELNOR_PLATFORM_VALUES_PERCENT_H

#include <optional>
#include <string>
#include <string_view>

namespace velnor {

// Bytes that keep refuses become "%" and two upper-case digits.
std::string PercentEncode(std::string_view bytes, bool (*keep)(unsigned char));

// Nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> PercentDecode(std::string_view text);

} // namespace velnor

#endif
