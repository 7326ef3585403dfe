/* What a person sees while a job runs: lines on standard error, a progress bar on a terminal. */
#ifndef VELNOR_HOST_TERMINAL_H
#define VELNOR_HOST_TERMINAL_H

#include <chrono>
#include <string>

namespace velnor::host {

/* "velnor-host: " and the line, on standard error, control characters shown as "?". */
void printNotice(const std::string& line);

/* Columns of the terminal behind the descriptor; 80 where it has none. */
int terminalColumns(int descriptor);

/* One line that is rewritten at most ten times a second; nothing where standard error is no
 * terminal. The line is wiped when the bar goes. */
class ProgressBar {
public:
    explicit ProgressBar(std::string label);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /* done from 0 to 1; note is shown behind the bar where there is room. */
    void show(double done, const std::string& note);

private:
    std::string mLabel;
    bool mOnTerminal;
    bool mDrawn = false;
    std::chrono::steady_clock::time_point mNext{};
};

} // namespace velnor::host

#endif
