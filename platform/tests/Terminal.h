/* Code that runs where a person sits at a terminal. */
#ifndef VELNOR_PLATFORM_TESTS_TERMINAL_H
#define VELNOR_PLATFORM_TESTS_TERMINAL_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace velnor::test {

struct TerminalSession {
    std::string screen; /* what stood on the terminal in the end, typed text included */
    int result;         /* what the code returned, 0 to 255; -1 when it did not come to its end */
};

/* Runs the code in a process of its own whose standard streams are a terminal without a display,
 * with the text typed beforehand. */
inline TerminalSession InTerminal(const std::string& typed, const std::function<int()>& code) {
    TerminalSession session{"", -1};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
        alarm(20);
        _exit(code());
    }
    EXPECT_GT(child, 0);
    EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    char block[512];
    for (ssize_t got = 0; (got = read(terminal, block, sizeof block)) > 0;) {
        session.screen.append(block, static_cast<std::size_t>(got));
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    session.result = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    close(terminal);
    return session;
}

} // namespace velnor::test

#endif
