#include "support/UnicodeEncoding.h"

#include <fstream>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kBytesRead = 4;

struct Mark {
    UNICODE_ENCODING encoding;
    std::string_view bytes;
};

constexpr Mark kMarks[] = {
    {UTF_8, "\xEF\xBB\xBF"sv},         {UTF_16_BE, "\xFE\xFF"sv},
    {UTF_16_LE, "\xFF\xFE"sv},         {UTF_32_BE, "\x00\x00\xFE\xFF"sv},
    {UTF_32_LE, "\xFF\xFE\x00\x00"sv}, {UTF_7, "\x2B\x2F\x76"sv},
    {UTF_1, "\xF7\x64\x4C"sv},         {UTF_EBCDIC, "\xDD\x73\x66\x73"sv},
    {SCSU, "\x0E\xFE\xFF"sv},          {BOCU_1, "\xFB\xEE\x28"sv},
};

} // namespace

bool getUnicodeEncoding(const std::string& path, UNICODE_ENCODING& encoding,
                        unsigned long& markLength) {
    encoding = NO_BOM;
    std::ifstream in(path, std::ios::binary);
    char start[kBytesRead];
    if (!in.read(start, kBytesRead)) {
        return false;
    }
    for (const Mark& mark : kMarks) {
        if (std::string_view(start, kBytesRead).starts_with(mark.bytes)) {
            encoding = mark.encoding;
            markLength = static_cast<unsigned long>(mark.bytes.size());
            return true;
        }
    }
    return false;
}
