// The syntax of absolute URLs (RFC 3986).
#ifndef VELNOR_PLATFORM_VALUES_URLSYNTAX_H
#define VELNOR_PLATFORM_VALUES_URLSYNTAX_H

#include <optional>
#include <string_view>

namespace velnor {

// The parts before decoding, borrowed from the text. A query and a fragment are left out.
struct UrlParts {
    std::string_view scheme;
    std::optional<std::string_view> authority;
    std::string_view path;
};

// Nothing when the text is not a URL with a scheme.
std::optional<UrlParts> SplitUrl(std::string_view text);

// True for the bytes that stand for themselves in the path of a URL, "/" among them.
bool IsUrlPathByte(unsigned char byte);

} // namespace velnor

#endif
