#include "host/job/Interruption.h"

#include "host/job/JobError.h"
#include "host/job/TemporaryNames.h"

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <unistd.h>

namespace velnor::host {

namespace {

volatile std::sig_atomic_t sInterrupted = 0;

constexpr std::size_t kSignalStackSize = std::size_t{64} * 1024;
alignas(16) unsigned char sSignalStack[kSignalStackSize];

template <std::size_t Size>
void writeText(const char (&text)[Size]) {
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text, Size - 1);
}

void askToStop(int) {
    if (sInterrupted) {
        removeTemporaryFiles();
        _exit(kExitFailed);
    }
    sInterrupted = 1;
}

void crashed(int signal) {
    removeTemporaryFiles();
    writeText("\nvelnor-host: the engine or the instrument crashed (");
    switch (signal) {
    case SIGSEGV:
        writeText("bad memory access");
        break;
    case SIGABRT:
        writeText("it gave up");
        break;
    case SIGBUS:
        writeText("bus error");
        break;
    case SIGFPE:
        writeText("arithmetic error");
        break;
    default:
        writeText("illegal instruction");
    }
    writeText("); nothing was written. Try another engine version, or run: velnor-host doctor\n");
    _exit(kExitFailed);
}

void handle(int signal, void (*action)(int), int flags) {
    struct sigaction what = {};
    what.sa_handler = action;
    what.sa_flags = flags;
    sigaction(signal, &what, nullptr);
}

} // namespace

void watchForInterruption() {
    stack_t stack = {};
    stack.ss_sp = sSignalStack;
    stack.ss_size = sizeof sSignalStack;
    sigaltstack(&stack, nullptr);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        handle(signal, askToStop, 0);
    }
    for (int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
        handle(signal, crashed, SA_ONSTACK | static_cast<int>(SA_RESETHAND));
    }
    for (int signal : {SIGPIPE, SIGXFSZ}) {
        handle(signal, SIG_IGN, 0);
    }
}

bool interrupted() {
    return sInterrupted != 0;
}

} // namespace velnor::host
