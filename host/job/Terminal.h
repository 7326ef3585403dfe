// The host's standard output and standard error: every text that a person reads goes through here.
// What a terminal shows is cleaned (platform/TerminalText.h), for names, texts and paths come from
// files that others made; a pipe and a file get the bytes.
#ifndef VELNOR_HOST_JOB_TERMINAL_H
#define VELNOR_HOST_JOB_TERMINAL_H

#include <chrono>
#include <string>

namespace velnor::host {

// Standard output. A line's own line feeds are cleaned, too; a text keeps its lines.
void printLine(const std::string& line);
void printText(const std::string& text);

// Standard error: what a job says at its end; and, behind "velnor-host: ", what it has to say else.
void printReport(const std::string& line);
void printNotice(const std::string& line);

// What printLine and its kind show of a line behind this descriptor: for those who measure it.
std::string shownLine(int descriptor, std::string line);
// The same of a text.
std::string shownText(int descriptor, std::string text);

// Columns of the terminal behind the descriptor; 80 where it has none.
int terminalColumns(int descriptor);

// One line that is rewritten at most ten times a second; nothing where standard error is no
// terminal. The line is wiped when the bar goes.
class ProgressBar {
public:
    explicit ProgressBar(std::string label);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // done from 0 to 1; note is shown behind the bar where there is room.
    void show(double done, const std::string& note);

private:
    std::string mLabel;
    bool mOnTerminal;
    bool mDrawn = false;
    std::chrono::steady_clock::time_point mNext{};
};

} // namespace velnor::host

#endif
