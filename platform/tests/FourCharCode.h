/* Four-character codes from text. */
#ifndef VELNOR_PLATFORM_TESTS_FOURCHARCODE_H
#define VELNOR_PLATFORM_TESTS_FOURCHARCODE_H

#include "platform/Types.h"

namespace velnor::test {

constexpr OSType Code(const char (&text)[5]) {
    return VELNOR_FOUR_CHAR_CODE(text[0], text[1], text[2], text[3]);
}

} // namespace velnor::test

#endif
