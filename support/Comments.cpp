#include "support/Comments.h"

#include <ostream>

namespace {

// Both passes keep what they have decided at the front of the text, [0, kept), and read on behind
// it. What they erase is never preceded by a "/", so an erasure never joins two halves of a new
// comment mark, and one pass finds what repeated searches from the start would find.

bool opensBlockComment(const std::string& text, std::size_t kept, char next) {
    return next == '*' && kept > 0 && text[kept - 1] == '/';
}

bool opensLineComment(const std::string& text, std::size_t kept) {
    return kept > 1 && text[kept - 2] == '/';
}

void removeBlockComments(std::string& text, std::ostream* err) {
    std::size_t kept = 0;
    for (std::size_t next = 0; next < text.size(); ++next) {
        if (!opensBlockComment(text, kept, text[next])) {
            text[kept++] = text[next];
            continue;
        }
        if (opensLineComment(text, kept)) {
            text[kept++] = '/';
            continue;
        }
        --kept;
        const std::size_t close = text.find("*/", next + 1);
        if (close == std::string::npos) {
            if (err != nullptr) {
                *err << "removeComments /* comment not closed\n";
            }
            break;
        }
        next = close + 1;
    }
    text.resize(kept);
}

void removeLineComments(std::string& text) {
    std::size_t kept = 0;
    for (std::size_t next = 0; next < text.size(); ++next) {
        if (text.compare(next, 2, "//") == 0) {
            next = text.find_first_of("\r\n", next);
            if (next == std::string::npos) {
                break;
            }
        }
        text[kept++] = text[next];
    }
    text.resize(kept);
}

} // namespace

void removeComments(std::string& text, std::ostream* err) {
    removeBlockComments(text, err);
    removeLineComments(text);
}
