#include "host/job/Terminal.h"

#include "platform/TerminalText.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace velnor::host {

namespace {

constexpr int kDefaultColumns = 80;
constexpr int kLeastBar = 8;
constexpr int kMostBar = 50;
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

std::string cleaned(int descriptor, std::string text, bool keepsLines) {
    if (isatty(descriptor) == 1) {
        text.resize(PlatformCleanTerminalText(text.data(), text.size(), keepsLines));
    }
    return text;
}

void put(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

} // namespace

std::string shownLine(int descriptor, std::string line) {
    return cleaned(descriptor, std::move(line), false);
}

std::string shownText(int descriptor, std::string text) {
    return cleaned(descriptor, std::move(text), true);
}

void printLine(const std::string& line) {
    put(stdout, shownLine(STDOUT_FILENO, line) + "\n");
}

void printText(const std::string& text) {
    put(stdout, shownText(STDOUT_FILENO, text));
}

void printReport(const std::string& line) {
    put(stderr, shownLine(STDERR_FILENO, line) + "\n");
}

void printNotice(const std::string& line) {
    printReport("velnor-host: " + line);
}

int terminalColumns(int descriptor) {
    winsize size = {};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return kDefaultColumns;
    }
    return size.ws_col;
}

ProgressBar::ProgressBar(std::string label)
    : mLabel(std::move(label)), mOnTerminal(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
    if (mDrawn) {
        std::fprintf(stderr, "\r\x1b[K");
    }
}

void ProgressBar::show(double done, const std::string& note) {
    const auto now = std::chrono::steady_clock::now();
    if (!mOnTerminal || now < mNext) {
        return;
    }
    mNext = now + kRedrawInterval;
    const int columns = terminalColumns(STDERR_FILENO) - 1;
    const double part = std::clamp(done, 0.0, 1.0);
    char percent[8];
    std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(part * 100.0));
    std::string line = percent;
    const int rest = columns - static_cast<int>(line.size() + mLabel.size() + note.size()) - 4;
    const int bar = std::min(rest, kMostBar);
    if (bar >= kLeastBar) {
        const int filled = static_cast<int>(part * bar);
        line = mLabel + " " + line + " " + std::string(static_cast<std::size_t>(filled), '#') +
               std::string(static_cast<std::size_t>(bar - filled), '.') + " " + note;
    } else {
        line += " " + note;
    }
    line.resize(std::min(line.size(), static_cast<std::size_t>(std::max(columns, 0))));
    std::fprintf(stderr, "\r\x1b[K%s", line.c_str());
    std::fflush(stderr);
    mDrawn = true;
}

} // namespace velnor::host
