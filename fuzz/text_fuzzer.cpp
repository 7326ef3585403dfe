// The text functions against plain versions that follow their rules word by word.
#include "fuzz/FuzzCheck.h"
#include "support/Comments.h"
#include "support/Numbers.h"
#include "support/PathStrings.h"
#include "support/Text.h"
#include "support/TextFiles.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstring>
#include <sstream>

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
    checkPath(text);
    return 0;
}
