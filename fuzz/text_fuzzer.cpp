// The text functions against plain versions that follow their rules word by word.
#include "fuzz/EncodingChecks.h"
#include "fuzz/FuzzCheck.h"
#include "fuzz/MemoryFile.h"
#include "fuzz/NumberChecks.h"
#include "support/Comments.h"
#include "support/PathStrings.h"
#include "support/Text.h"
#include "support/TextFiles.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

using namespace velnor::fuzz;

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
        if (!ends) {
            line += text[i];
        }
        const bool hasMore = i + 1 < text.size();
        // A bare carriage return that ends the text ends no empty line.
        if ((ends && (text[i] == '\n' || hasMore || !line.empty())) || (!ends && !hasMore)) {
            lines.push_back(line);
            line.clear();
        }
        if (text[i] == '\r' && hasMore && text[i + 1] == '\n') {
            ++i;
        }
    }
    return lines;
}

void checkGetLine(const std::string& text) {
    std::istringstream in(text);
    Texts lines;
    for (std::string line; getLine(in, line);) {
        lines.push_back(line);
    }
    FUZZ_CHECK(lines == plainLines(text));
}

void checkTokens(const std::string& text, const std::string& delimiter) {
    Texts tokens;
    PSimpleStringTokenizer(text, delimiter, tokens);
    std::string joined;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        joined += (i == 0 ? "" : delimiter) + tokens[i];
    }
    FUZZ_CHECK(tokens.size() != 1);
    FUZZ_CHECK(tokens.empty() ? delimiter.empty() || text.find(delimiter) == kNone
                              : joined == text);
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
        FUZZ_CHECK((tokens[i] + delimiter).find(delimiter) == tokens[i].size());
    }
}

std::string plainReplace(const std::string& text, const std::string& search,
                         const std::string& replacement) {
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        const bool found = !search.empty() && text.compare(i, search.size(), search) == 0;
        out += found ? replacement : text.substr(i, 1);
        i += found ? search.size() : 1;
    }
    return out;
}

void checkReplace(const std::string& text, const std::string& search,
                  const std::string& replacement) {
    const std::string expected = plainReplace(text, search, replacement);
    std::string out = "before";
    PStringReplacer(text, out, search, replacement);
    FUZZ_CHECK(out == expected);
    out = text;
    PStringReplacer(out, out, search, replacement);
    FUZZ_CHECK(out == expected);
}

std::string plainTrim(std::string text, const std::string& set, bool left, bool right) {
    while (left && !text.empty() && set.find(text.front()) != kNone) {
        text.erase(0, 1);
    }
    while (right && !text.empty() && set.find(text.back()) != kNone) {
        text.pop_back();
    }
    return text;
}

std::string plainTrim(const std::string& text) {
    std::string blanks;
    for (char c = 0; c <= ' '; ++c) {
        blanks += c;
    }
    return plainTrim(text, blanks, true, true);
}

void checkTrim(const std::string& text) {
    std::string out;
    trim(text, out);
    FUZZ_CHECK(out == plainTrim(text));
    trim_left(text, out);
    FUZZ_CHECK(out == plainTrim(text, " ", true, false));
    trim_right(text, out);
    FUZZ_CHECK(out == plainTrim(text, " ", false, true));
    trim_space_tabs(text, out);
    FUZZ_CHECK(out == plainTrim(text, " \t", true, true));
}

void checkStringMap(const std::string& text, char separator) {
    std::map<std::string, std::string> expected = {{"a", "kept"}};
    std::map<std::string, std::string> actual = expected;
    for (const std::string& line : plainLines(text)) {
        const std::size_t at = line.find(separator);
        if (at != kNone) {
            expected[plainTrim(line.substr(0, at))] = plainTrim(line.substr(at + 1));
        }
    }
    static const MemoryFile kFile;
    FUZZ_CHECK(createStringMap(kFile.holding(text), actual, separator));
    FUZZ_CHECK(actual == expected);
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

// The path's parts before and after its last mark.
std::optional<std::pair<std::string, std::string>> plainParts(const std::string& path, char mark) {
    for (std::size_t i = path.size(); i > 0; --i) {
        if (path[i - 1] == mark) {
            return std::pair(path.substr(0, i - 1), path.substr(i));
        }
    }
    return std::nullopt;
}

void checkParts(const std::string& path) {
    const auto names = plainParts(path, '/');
    FUZZ_CHECK(getPathFromFile(path) == (names ? names->first : path.empty() ? "" : "."));
    FUZZ_CHECK(getFileFromPath(path) == (names ? names->second : path));
    const auto extended = plainParts(path, '.');
    FUZZ_CHECK(stripFileExtension(path) == (extended ? extended->first : path));
    FUZZ_CHECK(getFileExtension(path) == (extended ? extended->second : ""));
    FUZZ_CHECK(pathIsRelative(path) != path.starts_with('/'));
}

std::string plainExchange(std::string text, const std::string& set, char byte) {
    for (char& c : text) {
        c = set.find(c) != kNone ? byte : c;
    }
    return text;
}

void checkPathBytes(const std::string& path) {
    std::string clean = path;
    cleanPathName(clean);
    FUZZ_CHECK(clean == plainExchange(path, "\\/*?><|: ", '_'));
    std::string posix = "before";
    PToPosix(path, posix);
    FUZZ_CHECK(posix == plainExchange(path.substr(0, 2047), "\\", '/'));
    const std::string text = path.c_str();
    PToPosix(path.c_str(), posix);
    FUZZ_CHECK(posix == plainExchange(text.substr(0, 2047), "\\", '/'));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto behind = [&text](std::size_t bytes) {
        return text.substr(std::min(bytes, text.size()));
    };
    checkRemoveComments(text);
    checkGetLine(text);
    checkTokens(behind(1), text.substr(0, 1));
    checkTokens(behind(2), text.substr(0, 2));
    checkReplace(behind(1), text.substr(0, 1), behind(2).substr(0, 1));
    checkReplace(behind(4), text.substr(0, 2), text.substr(0, 4));
    checkTrim(text);
    checkStringMap(behind(1), text.empty() ? '=' : text.front());
    checkNumbers(text);
    checkCase(text);
    checkMark(text);
    checkEncodings(text);
    checkParts(text);
    checkPathBytes(text);
    return 0;
}
