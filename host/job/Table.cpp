#include "host/job/Table.h"

#include "host/job/Terminal.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace velnor::host {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastLastColumn = 16;

bool beginsCodePoint(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
}

// Code points of a UTF-8 text: what it takes on a terminal, near enough.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsCodePoint));
}

// The bytes of the first so many code points of a text that has more.
std::size_t bytesOf(const std::string& text, std::size_t width) {
    const auto end = std::find_if(text.begin(), text.end(),
                                  [&width](char c) { return beginsCodePoint(c) && width-- == 0; });
    return static_cast<std::size_t>(end - text.begin());
}

// Takes from the front of the text what fits, cut at a blank where there is one.
std::string takeLine(std::string& text, std::size_t width) {
    if (widthOf(text) <= width) {
        return std::exchange(text, "");
    }
    const std::size_t fits = bytesOf(text, width);
    const std::size_t blank = text.rfind(' ', fits);
    const std::size_t end = blank == std::string::npos || blank == 0 ? fits : blank;
    std::string line = text.substr(0, end);
    text.erase(0, end == blank ? end + 1 : end);
    return line;
}

} // namespace

void Table::print() const {
    const std::size_t columns = mRows.front().size();
    std::vector<std::size_t> widths(columns, 0);
    auto rows = mRows;
    for (auto& row : rows) {
        for (std::size_t i = 0; i < columns; ++i) {
            row[i] = shownLine(STDOUT_FILENO, row[i]);
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    std::size_t before = 0;
    for (std::size_t i = 0; i + 1 < columns; ++i) {
        before += widths[i] + kGap;
    }
    const auto terminal = static_cast<std::size_t>(terminalColumns(STDOUT_FILENO));
    const std::size_t last =
        isatty(STDOUT_FILENO)
            ? std::max(terminal > before ? terminal - before : 0, kLeastLastColumn)
            : std::string::npos;
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i + 1 < columns; ++i) {
            line += row[i] + std::string(widths[i] - widthOf(row[i]) + kGap, ' ');
        }
        std::string rest = row.back();
        do {
            printLine(line + takeLine(rest, last));
            line.assign(before, ' ');
        } while (!rest.empty());
    }
}

} // namespace velnor::host
