#include "platform/TerminalText.h"

#include "platform/values/Unicode.h"

#include <cstring>
#include <string_view>

namespace velnor {
namespace {

bool IsControl(char32_t scalar) {
    return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0);
}

bool BreaksLine(char32_t scalar) {
    return scalar == 0x2028 || scalar == 0x2029;
}

bool TurnsDirection(char32_t scalar) {
    return (scalar >= 0x202A && scalar <= 0x202E) || (scalar >= 0x2066 && scalar <= 0x2069);
}

bool IsShown(char32_t scalar, bool keepsLines) {
    const bool isLayout = scalar == '\n' || scalar == '\t';
    return isLayout ? keepsLines
                    : !IsControl(scalar) && !BreaksLine(scalar) && !TurnsDirection(scalar);
}

} // namespace
} // namespace velnor

size_t PlatformCleanTerminalText(char* text, size_t length, Boolean keepsLines) {
    size_t kept = 0;
    for (size_t at = 0; at < length;) {
        const auto next = velnor::DecodeUtf8(std::string_view(text + at, length - at));
        const size_t size = next ? next->length : 1;
        if (next && velnor::IsShown(next->scalar, keepsLines != 0)) {
            std::memmove(text + kept, text + at, size);
            kept += size;
        } else {
            text[kept++] = '?';
        }
        at += size;
    }
    return kept;
}
