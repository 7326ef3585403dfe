#include "platform/TerminalText.h"
#include "platform/alerts/AlertPresenters.h"
#include "platform/alerts/Deadline.h"
#include "platform/files/FileSystem.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <strings.h>
#include <unistd.h>

namespace velnor {
namespace {

constexpr std::size_t kMaximumLine = 256;

// A terminal gets nothing that could command it; a pipe gets the bytes.
void WriteText(std::string text) {
    if (isatty(STDERR_FILENO)) {
        text.resize(PlatformCleanTerminalText(text.data(), text.size(), true));
    }
    WriteAll(STDERR_FILENO, text);
}

// A process in the background would be stopped when it reads its terminal.
bool IsAttended() {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO) && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

enum class Input { Line, Ended, TimedOut };

// Reads no byte beyond the line's end.
Input ReadLine(const Deadline& deadline, std::string& line) {
    line.clear();
    for (;;) {
        if (!deadline.WaitToRead(STDIN_FILENO)) {
            return deadline.HasPassed() ? Input::TimedOut : Input::Ended;
        }
        char c = 0;
        const ssize_t got = read(STDIN_FILENO, &c, 1);
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (got <= 0) {
            return Input::Ended;
        }
        if (c == '\n') {
            return Input::Line;
        }
        if (line.size() < kMaximumLine) {
            line += c;
        }
    }
}

int ButtonCount(const PlatformAlert& alert) {
    int count = 0;
    for (const char* button : alert.buttons) {
        count += button != nullptr ? 1 : 0;
    }
    return count;
}

std::string Prompt(const PlatformAlert& alert) {
    if (ButtonCount(alert) == 1) {
        return "Press Enter to continue. ";
    }
    std::string prompt;
    for (int i = 0; i < 3; ++i) {
        if (alert.buttons[i] != nullptr) {
            prompt += std::to_string(i + 1) + ": " + alert.buttons[i] + "  ";
        }
    }
    return prompt + "(Enter: " + alert.buttons[alert.defaultButton] + ") ";
}

// The button that an answer names by its number or by the beginning of its title; Enter alone names
// the default one.
std::optional<SInt32> ChosenButton(const PlatformAlert& alert, const std::string& line) {
    if (line.empty() || ButtonCount(alert) == 1) {
        return alert.defaultButton;
    }
    for (SInt32 i = 0; i < 3; ++i) {
        const char* title = alert.buttons[i];
        if (title != nullptr &&
            (line == std::to_string(i + 1) || strncasecmp(line.c_str(), title, line.size()) == 0)) {
            return i;
        }
    }
    return std::nullopt;
}

} // namespace

SInt32 PresentAsText(const PlatformAlert& alert) {
    std::string text;
    for (const std::string_view part : {alert.header, alert.message}) {
        text += part.empty() ? std::string() : std::string(part) + "\n";
    }
    WriteText(text);
    if (!IsAttended()) {
        return alert.cancelButton;
    }
    const Deadline deadline(alert.timeout);
    for (;;) {
        WriteText(Prompt(alert));
        std::string line;
        switch (ReadLine(deadline, line)) {
        case Input::Line:
            if (const auto button = ChosenButton(alert, line)) {
                return *button;
            }
            break;
        case Input::Ended:
            return alert.cancelButton;
        case Input::TimedOut:
            return kPlatformAlertTimedOut;
        }
    }
}

} // namespace velnor
