// Text that cannot command or deceive the terminal that shows it.
#ifndef VELNOR_PLATFORM_TERMINALTEXT_H
#define VELNOR_PLATFORM_TERMINALTEXT_H

#include "platform/CFBase.h"

#include <stddef.h>

VELNOR_BEGIN_C

// Puts a "?" in the place of each control character (C0, and so every escape sequence's first byte;
// DEL; U+0080 to U+009F), of each line or paragraph separator, of each character that turns the
// direction of writing round (U+202A to U+202E, U+2066 to U+2069) and of each byte that is no
// UTF-8. With keepsLines, line feeds and tabs stay. Works in place, needs no terminating zero, and
// returns the new length, which is never greater. For text that comes from files, hosts or engines;
// what does not go to a terminal needs none of it. Thread any, concurrent, nonblocking.
VELNOR_PLATFORM_API size_t PlatformCleanTerminalText(char* text, size_t length, Boolean keepsLines);

VELNOR_END_C

#endif
