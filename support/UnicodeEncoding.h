// Which Unicode encoding a file's byte-order mark announces. Thread any, concurrent, may block.
#ifndef VELNOR_SUPPORT_UNICODEENCODING_H
#define VELNOR_SUPPORT_UNICODEENCODING_H

#include <string>

enum UNICODE_ENCODING {
    UTF_8 = 0,
    UTF_16_BE = 1,
    UTF_16_LE = 2,
    UTF_32_BE = 3,
    UTF_32_LE = 4,
    UTF_7 = 5,
    UTF_1 = 6,
    UTF_EBCDIC = 7,
    SCSU = 8,
    BOCU_1 = 9,
    NO_BOM = 10
};

// True when the file begins with a mark; encoding and the mark's length in bytes then say which.
// Marks are compared in the order of the enumeration, so FF FE 00 00 is UTF_16_LE. Otherwise, also
// for files that cannot be read or hold fewer than four bytes, encoding is NO_BOM and markLength
// stays as it was.
bool getUnicodeEncoding(const std::string& path, UNICODE_ENCODING& encoding,
                        unsigned long& markLength);

#endif
