// The text functions against plain versions that follow their rules word by word.
#include "fuzz/FuzzCheck.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "support/Comments.h"
#include "support/Numbers.h"
#include "support/PathStrings.h"
#include "support/Text.h"
#include "support/TextFiles.h"
#include "support/UnicodeEncoding.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>
#include <iconv.h>
#include <optional>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

constexpr auto kNone = std::string::npos;

std::string plainRemoveComments(std::string text, bool& unclosed) {
    for (std::size_t open = text.find("/*"); open != kNone; open = text.find("/*")) {
        if (open > 0 && text[open - 1] == '/') {
            text[open + 1] = '/';
            continue;
        }
        const std::size_t close = text.find("*/", open + 2);
        unclosed = unclosed || close == kNone;
        text.erase(open, close == kNone ? kNone : close + 2 - open);
    }
    for (std::size_t open = text.find("//"); open != kNone; open = text.find("//")) {
        const std::size_t end = text.find_first_of("\r\n", open);
        text.erase(open, end == kNone ? kNone : end - open);
    }
    return text;
}

void checkRemoveComments(const std::string& text) {
    bool unclosed = false;
    const std::string expected = plainRemoveComments(text, unclosed);
    std::string actual = text;
    std::ostringstream err;
    removeComments(actual, &err);
    FUZZ_CHECK(actual == expected);
    FUZZ_CHECK(err.str().empty() != unclosed);
}

Texts plainLines(const std::string& text) {
    Texts lines;
    std::string line;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool ends = text[i] == '\r' || text[i] == '\n';
        if (!ends)
            line += text[i];
        const bool hasMore = i + 1 < text.size();
        // A bare carriage return that ends the text ends no empty line.
        if ((ends && (text[i] == '\n' || hasMore || !line.empty())) || (!ends && !hasMore)) {
            lines.push_back(line);
            line.clear();
        }
        if (text[i] == '\r' && hasMore && text[i + 1] == '\n')
            ++i;
    }
    return lines;
}

void checkGetLine(const std::string& text) {
    std::istringstream in(text);
    Texts lines;
    for (std::string line; getLine(in, line);)
        lines.push_back(line);
    FUZZ_CHECK(lines == plainLines(text));
}

void checkTokens(const std::string& text, const std::string& delimiter) {
    Texts tokens;
    PSimpleStringTokenizer(text, delimiter, tokens);
    std::string joined;
    for (std::size_t i = 0; i < tokens.size(); ++i)
        joined += (i == 0 ? "" : delimiter) + tokens[i];
    FUZZ_CHECK(tokens.size() != 1);
    FUZZ_CHECK(tokens.empty() ? delimiter.empty() || text.find(delimiter) == kNone
                              : joined == text);
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i)
        FUZZ_CHECK((tokens[i] + delimiter).find(delimiter) == tokens[i].size());
    std::string same;
    PStringReplacer(text, same, delimiter, delimiter);
    FUZZ_CHECK(same == text);
}

std::string plainTrim(std::string text, const char* set) {
    while (!text.empty() && std::strchr(set, text.front()) != nullptr)
        text.erase(0, 1);
    while (!text.empty() && std::strchr(set, text.back()) != nullptr)
        text.pop_back();
    return text;
}

void checkTrim(const std::string& text) {
    std::string blanks;
    for (char c = 1; c <= ' '; ++c)
        blanks += c;
    std::string out;
    trim(text, out);
    FUZZ_CHECK(out == plainTrim(text, blanks.c_str())); // strchr finds the zero in every set
    trim_left(text, out);
    trim_right(out, out);
    FUZZ_CHECK(text.find('\0') != kNone || out == plainTrim(text, " "));
    trim_space_tabs(text, out);
    FUZZ_CHECK(text.find('\0') != kNone || out == plainTrim(text, " \t"));
}

struct Number {
    double value;
    std::size_t end;
    bool range;
};

// The value in extended precision, good to a few units in the last place of a double for the
// numbers of a bearable length.
Number plainNumber(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && (std::isspace(static_cast<unsigned char>(text[i])) ||
                               std::iscntrl(static_cast<unsigned char>(text[i]))))
        ++i;
    std::string digits;
    const auto take = [&](const char* set) {
        return i < text.size() && std::strchr(set, text[i]) != nullptr ? text[i++] : '\0';
    };
    const auto takeDigits = [&] {
        const std::size_t start = i;
        while (const char c = take("0123456789"))
            digits += c;
        return i - start;
    };
    if (const char sign = take("+-"); sign == '-')
        digits = "-";
    std::size_t count = takeDigits();
    if (take(".,") != '\0') {
        digits += '.';
        count += takeDigits();
    }
    if (count == 0)
        return {0, 0, false};
    const std::size_t mantissaEnd = i;
    const bool negative = digits.front() == '-';
    const bool huge = std::isinf(std::strtod(digits.c_str(), nullptr));
    if (take("eEdD") != '\0') {
        digits += 'e';
        if (const char sign = take("+-"); sign != '\0')
            digits += sign;
        const std::size_t exponentStart = digits.find('e') + 1;
        if (takeDigits() > 0) {
            const long long exponent = std::strtoll(digits.c_str() + exponentStart, nullptr, 10);
            const double value = std::strtod(digits.c_str(), nullptr);
            const double limit = negative ? -4294967295.0 : 4294967295.0;
            if (huge || exponent > INT_MAX || exponent < INT_MIN || std::isinf(value))
                return {limit, i, true};
            return {value, i, exponent < 0 && std::fabs(value) < 2.2250738585072014e-308};
        }
        digits.erase(exponentStart - 1);
    }
    if (huge)
        return {negative ? -4294967295.0 : 4294967295.0, mantissaEnd, true};
    return {std::strtod(digits.c_str(), nullptr), mantissaEnd, false};
}

void checkNumber(const std::string& bytes) {
    const std::string text = bytes.c_str();
    const Number expected = plainNumber(text);
    const char* end = nullptr;
    errno = 0;
    const double value = PStrtod(text.c_str(), &end);
    FUZZ_CHECK(static_cast<std::size_t>(end - text.c_str()) == expected.end);
    const bool range = errno == ERANGE;
    const double size = std::fabs(expected.value);
    // Next to a limit the parser's own rounding decides.
    if (size > 1e300 || (size < 1e-300 && size > 0) || text.size() > 200)
        return;
    if (size == 0 && range != expected.range)
        return; // digits so small that they vanish before or after the exponent is applied
    FUZZ_CHECK(range == expected.range);
    FUZZ_CHECK(std::fabs(value - expected.value) <= 1e-11 * size + (size == 0 ? 1e-300 : 0));
    double whole = 0;
    FUZZ_CHECK(PStringToDouble(text.c_str(), whole) == (*end == '\0' && end != text.c_str()));
}

// Parsed back, the text of a number is the number as far as its digits go.
void checkNumberText(const std::string& bytes) {
    double value = 0;
    if (bytes.size() < sizeof value)
        return;
    std::memcpy(&value, bytes.data(), sizeof value);
    std::string text;
    PDoubleToString(text, value, true);
    FUZZ_CHECK(!text.empty() && text.find(',') == kNone);
    if (!std::isfinite(value) || std::fabs(value) > 1e300)
        return;
    double back = 0;
    FUZZ_CHECK(PStringToDouble(text.c_str(), back));
    const double size = std::fabs(value);
    // Six decimals, or all that count; the whole numbers count for what is as near them as 2.3e-16.
    const double printed = size < 1e12 && size > 1e-6 ? 1e-6 : 2.3e-16;
    FUZZ_CHECK(std::fabs(back - value) <= printed + 1e-11 * size);
}

void checkCase(const std::string& text) {
    std::string upper;
    std::string lower;
    uppercase(text, upper);
    lowercase(text, lower);
    FUZZ_CHECK(upper.size() == text.size() && lower.size() == text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isLower = text[i] >= 'a' && text[i] <= 'z';
        const bool isUpper = text[i] >= 'A' && text[i] <= 'Z';
        FUZZ_CHECK(upper[i] == (isLower ? text[i] - 32 : text[i]));
        FUZZ_CHECK(lower[i] == (isUpper ? text[i] + 32 : text[i]));
    }
}

void checkMark(const std::string& text) {
    static const int file = memfd_create("marked", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    const std::string start = text.substr(0, 8);
    FUZZ_CHECK(ftruncate(file, 0) == 0);
    FUZZ_CHECK(pwrite(file, start.data(), start.size(), 0) == static_cast<ssize_t>(start.size()));
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
    while (expected < NO_BOM && (start.size() < 4 || !start.starts_with(marks[expected])))
        ++expected;
    UNICODE_ENCODING encoding = UTF_8;
    unsigned long length = 99;
    FUZZ_CHECK(getUnicodeEncoding(path, encoding, length) == (expected != NO_BOM));
    FUZZ_CHECK(encoding == expected);
    FUZZ_CHECK(length == (expected == NO_BOM ? 99 : marks[expected].size()));
}

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
    if (!string)
        return;
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

void checkEncodings(const std::string& text) {
    static const Encoding kUtf8 = {kCFStringEncodingUTF8, "UTF-8"};
    static const Encoding kAscii = {kCFStringEncodingASCII, "ASCII"};
    static const Encoding kLegacy = {kCFStringEncodingMacRoman, "MACINTOSH"};
    checkEncoding(text, kUtf8);
    checkEncoding(text, kAscii);
    if (text.find_first_of("\xC6\xF0") == kNone) // the C library has other characters there
        checkEncoding(text, kLegacy);
}

void checkPath(const std::string& path) {
    const std::string folder = getPathFromFile(path);
    const std::string file = getFileFromPath(path);
    FUZZ_CHECK(path.find('/') == kNone ? file == path : folder + "/" + file == path);
    const std::string extension = getFileExtension(path);
    FUZZ_CHECK(path.find('.') == kNone ? stripFileExtension(path) == path && extension.empty()
                                       : stripFileExtension(path) + "." + extension == path);
    std::string clean = path;
    cleanPathName(clean);
    FUZZ_CHECK(clean.size() == path.size() && clean.find_first_of("\\/*?><|: ") == kNone);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkRemoveComments(text);
    checkGetLine(text);
    checkTokens(text.substr(std::min<std::size_t>(1, size)), text.substr(0, 1));
    checkTokens(text.substr(std::min<std::size_t>(2, size)), text.substr(0, 2));
    checkTrim(text);
    checkNumber(text);
    checkNumberText(text);
    checkCase(text);
    checkMark(text);
    checkEncodings(text);
    checkPath(text);
    return 0;
}
