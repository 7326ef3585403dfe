#include "fuzz/EncodingChecks.h"

#include "fuzz/MemoryFile.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "support/Files.h"
#include "support/UnicodeEncoding.h"

#include <iconv.h>
#include <optional>

namespace velnor::fuzz {

void checkMark(const std::string& text) {
    static const MemoryFile kFile;
    const std::string start = text.substr(0, 8);
    const std::string& path = kFile.holding(start);
    const std::string marks[] = {"\xEF\xBB\xBF",
                                 "\xFE\xFF",
                                 "\xFF\xFE",
                                 std::string("\0\0\xFE\xFF", 4),
                                 std::string("\xFF\xFE\0\0", 4),
                                 "+/v",
                                 "\xF7\x64\x4C",
                                 "\xDD\x73\x66\x73",
                                 "\x0E\xFE\xFF",
                                 "\xFB\xEE\x28"};
    int expected = 0;
    while (expected < NO_BOM && (start.size() < 4 || !start.starts_with(marks[expected]))) {
        ++expected;
    }
    UNICODE_ENCODING encoding = UTF_8;
    unsigned long length = 99;
    FUZZ_CHECK(getUnicodeEncoding(path, encoding, length) == (expected != NO_BOM));
    FUZZ_CHECK(encoding == expected);
    FUZZ_CHECK(length == (expected == NO_BOM ? 99 : marks[expected].size()));
}

namespace {

constexpr auto kNone = std::string::npos;

struct Encoding {
    CFStringEncoding number;
    const char* name; // that the C library knows it by
    iconv_t converter = iconv_open("UTF-16LE", name);
};

// The text's UTF-16 units as the C library has them; nothing when it is no text in the encoding.
std::optional<std::u16string> plainUnits(const std::string& text, const Encoding& encoding) {
    std::u16string units(text.size() + 1, u'\0');
    char* from = const_cast<char*>(text.data());
    char* to = reinterpret_cast<char*>(units.data());
    std::size_t left = text.size();
    std::size_t room = units.size() * sizeof(char16_t);
    iconv(encoding.converter, nullptr, nullptr, nullptr, nullptr);
    const bool converts =
        iconv(encoding.converter, &from, &left, &to, &room) != static_cast<std::size_t>(-1);
    units.resize(units.size() - room / sizeof(char16_t));
    return converts && left == 0 ? std::optional(units) : std::nullopt;
}

void checkEncoding(const std::string& text, const Encoding& encoding) {
    const std::optional<std::u16string> expected = plainUnits(text, encoding);
    const velnor::CFRef<CFStringRef> string(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                static_cast<CFIndex>(text.size()), encoding.number, false));
    FUZZ_CHECK(bool(string) == expected.has_value());
    if (!string) {
        return;
    }
    const CFIndex count = CFStringGetLength(string.Get());
    std::u16string units(static_cast<std::size_t>(count), u'\0');
    CFStringGetCharacters(string.Get(), CFRange{0, count},
                          reinterpret_cast<UniChar*>(units.data()));
    FUZZ_CHECK(units == *expected);
    const CFIndex room = CFStringGetMaximumSizeForEncoding(count, encoding.number) + 1;
    std::string back(static_cast<std::size_t>(room), 'x');
    FUZZ_CHECK(bool(CFStringGetCString(string.Get(), back.data(), room, encoding.number)) ==
               (text.find('\0') == kNone));
    FUZZ_CHECK(text.find('\0') != kNone || back.c_str() == text);
}

void checkLocalText(const std::string& text) {
    static const iconv_t kConverter = iconv_open("UTF-8", "MACINTOSH");
    std::string utf8(3 * text.size(), '\0');
    char* from = const_cast<char*>(text.data());
    char* to = utf8.data();
    std::size_t left = text.size();
    std::size_t room = utf8.size();
    FUZZ_CHECK(iconv(kConverter, &from, &left, &to, &room) == 0);
    utf8.resize(utf8.size() - room);
    FUZZ_CHECK(localToFileSystem(text) == (utf8.size() <= 2047 ? utf8 : text));
}

} // namespace

void checkEncodings(const std::string& text) {
    static const Encoding kUtf8 = {kCFStringEncodingUTF8, "UTF-8"};
    static const Encoding kAscii = {kCFStringEncodingASCII, "ASCII"};
    static const Encoding kLegacy = {kCFStringEncodingMacRoman, "MACINTOSH"};
    checkEncoding(text, kUtf8);
    checkEncoding(text, kAscii);
    if (text.find_first_of("\xC6\xF0") == kNone) { // the C library has other characters there
        checkEncoding(text, kLegacy);
        checkLocalText(text.c_str());
    }
}

} // namespace velnor::fuzz
