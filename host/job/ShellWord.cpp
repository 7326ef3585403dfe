#include "host/job/ShellWord.h"

#include <algorithm>
#include <string_view>

namespace velnor::host {

namespace {

bool isPlain(char c) {
    constexpr std::string_view kPlainMarks = "/._-+,:@%=";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kPlainMarks.find(c) != std::string_view::npos;
}

} // namespace

std::string shellWord(const std::string& text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), isPlain)) {
        return text;
    }
    std::string word = "'";
    for (const char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + "'";
}

} // namespace velnor::host
