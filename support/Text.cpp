#include "support/Text.h"

#include <algorithm>
#include <cctype>

namespace {

template <typename Strip>
void stripLeft(std::string& text, Strip strip) {
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), strip));
}

template <typename Strip>
void stripRight(std::string& text, Strip strip) {
    text.erase(std::find_if_not(text.rbegin(), text.rend(), strip).base(), text.end());
}

template <typename Strip>
void stripBoth(const std::string& in, std::string& out, Strip strip) {
    std::string text = in;
    stripRight(text, strip);
    stripLeft(text, strip);
    out = std::move(text);
}

bool isBlankOrControl(unsigned char byte) {
    return byte <= ' ';
}

bool isSpace(char byte) {
    return byte == ' ';
}

bool isSpaceOrTab(char byte) {
    return byte == ' ' || byte == '\t';
}

template <typename Convert>
void mapBytes(const std::string& in, std::string& out, Convert convert) {
    out = in;
    for (char& byte : out) {
        byte = static_cast<char>(convert(static_cast<unsigned char>(byte)));
    }
}

} // namespace

void trim(const std::string& in, std::string& out) {
    stripBoth(in, out, isBlankOrControl);
}

void trim_left(const std::string& in, std::string& out) {
    out = in;
    stripLeft(out, isSpace);
}

void trim_right(const std::string& in, std::string& out) {
    out = in;
    stripRight(out, isSpace);
}

void trim_space_tabs(const std::string& in, std::string& out) {
    stripBoth(in, out, isSpaceOrTab);
}

void uppercase(const std::string& in, std::string& out) {
    mapBytes(in, out, [](int byte) { return std::toupper(byte); });
}

void lowercase(const std::string& in, std::string& out) {
    mapBytes(in, out, [](int byte) { return std::tolower(byte); });
}

void PSimpleStringTokenizer(const std::string& text, const std::string& delimiter,
                            std::vector<std::string>& out) {
    if (delimiter.empty()) {
        return;
    }
    std::size_t start = 0;
    std::size_t found = text.find(delimiter);
    if (found == std::string::npos) {
        return;
    }
    for (; found != std::string::npos; found = text.find(delimiter, start)) {
        out.push_back(text.substr(start, found - start));
        start = found + delimiter.size();
    }
    out.push_back(text.substr(start));
}

void PStringReplacer(const std::string& text, std::string& out, const std::string& search,
                     const std::string& replacement) {
    std::vector<std::string> pieces;
    PSimpleStringTokenizer(text, search, pieces);
    if (pieces.empty()) {
        out = text;
        return;
    }
    std::string joined = pieces.front();
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        joined.append(replacement).append(pieces[i]);
    }
    out = std::move(joined);
}

std::string VLNSConv(const std::string& text) {
    return text;
}

std::string PcalcMD5(const std::string&) {
    return "DUMMYMD5";
}
