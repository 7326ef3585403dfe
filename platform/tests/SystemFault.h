/* Processes whose calls to the file system fail. */
#ifndef VELNOR_PLATFORM_TESTS_SYSTEMFAULT_H
#define VELNOR_PLATFORM_TESTS_SYSTEMFAULT_H

#include <cerrno>
#include <csignal>
#include <functional>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velnor::test {

/* kChange: writes find no space, flushes a broken disk, everything else that makes or renames a
 * read-only file system; taking something away works. kRead: opens, reads and looks find a broken
 * disk. The standard streams always work. */
enum class Fault { kChange, kRead };

struct FaultyRun {
    int status; /* what work gave; below 0: minus the signal that ended the process */
    bool met;   /* whether there were so many calls */
};

namespace faults {

struct SystemCall {
    long number;
    unsigned long first, second, third; /* arguments */
};

inline int openError(Fault fault, unsigned long flags) {
    const bool changes = (flags & (O_ACCMODE | O_CREAT)) != O_RDONLY;
    if (changes != (fault == Fault::kChange))
        return 0;
    return changes ? EROFS : EIO;
}

/* The error that the call gets, 0 when the fault does not concern it. */
inline int errorOf(Fault fault, const SystemCall& call) {
    const bool stands = fault == Fault::kChange;
    switch (call.number) {
    case SYS_open:
        return openError(fault, call.second);
    case SYS_openat:
        return openError(fault, call.third);
    case SYS_write:
    case SYS_writev:
    case SYS_pwrite64:
        return stands && call.first > STDERR_FILENO ? ENOSPC : 0;
    case SYS_fsync:
    case SYS_fdatasync:
        return stands ? EIO : 0;
    case SYS_rename:
    case SYS_renameat:
    case SYS_renameat2:
    case SYS_link:
    case SYS_linkat:
    case SYS_symlinkat:
    case SYS_mkdir:
    case SYS_mkdirat:
    case SYS_ftruncate:
    case SYS_fchmod:
    case SYS_utimensat:
#if defined(SYS_utimensat_time64)
    case SYS_ftruncate64:
    case SYS_utimensat_time64:
#endif
        return stands ? EROFS : 0;
    case SYS_read:
        return !stands && call.first > STDERR_FILENO ? EIO : 0;
    case SYS_getdents64:
    case SYS_stat:
    case SYS_lstat:
    case SYS_statx:
#if defined(SYS_newfstatat)
    case SYS_newfstatat:
#else
    case SYS_stat64:
    case SYS_lstat64:
    case SYS_fstat64:
    case SYS_fstatat64:
#endif
        return stands ? 0 : EIO;
    default:
        return 0;
    }
}

#if defined(__x86_64__)
inline SystemCall callIn(const user_regs_struct& registers) {
    return {static_cast<long>(registers.orig_rax), registers.rdi, registers.rsi, registers.rdx};
}
inline void setNumber(user_regs_struct& registers, int number) {
    registers.orig_rax = static_cast<unsigned long>(number);
}
inline void setResult(user_regs_struct& registers, int result) {
    registers.rax = static_cast<unsigned long>(result);
}
#else
inline SystemCall callIn(const user_regs_struct& registers) {
    return {registers.orig_eax, static_cast<unsigned long>(registers.ebx),
            static_cast<unsigned long>(registers.ecx), static_cast<unsigned long>(registers.edx)};
}
inline void setNumber(user_regs_struct& registers, int number) {
    registers.orig_eax = number;
}
inline void setResult(user_regs_struct& registers, int result) {
    registers.eax = result;
}
#endif

/* Lets the stopped child run on to its end. */
inline FaultyRun follow(pid_t child, Fault fault, int number) {
    constexpr int kSystemCallStop = SIGTRAP | 0x80;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    int status = 0;
    int error = 0;
    bool entering = true;
    for (int signal = 0;;) {
        ptrace(PTRACE_SYSCALL, child, nullptr, signal);
        if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status))
            break;
        signal = WSTOPSIG(status) == kSystemCallStop ? 0 : WSTOPSIG(status);
        if (signal != 0)
            continue;
        user_regs_struct registers = {};
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        if (!entering && error != 0 && number == 0) {
            number = -1;
            setResult(registers, -error);
        } else if (entering && number > 0) {
            error = errorOf(fault, callIn(registers));
            if (error != 0 && --number == 0)
                setNumber(registers, -1); /* no system call */
        }
        ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        entering = !entering;
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), number < 0};
}

} // namespace faults

/* Runs work in a child process, in which the number-th call that the fault concerns fails, the
 * first being 1. */
inline FaultyRun runWithFault(Fault fault, int number, const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return faults::follow(child, fault, number);
}

/* Not every system lets a process do that. */
inline bool canMakeFaults() {
    const pid_t child = fork();
    if (child == 0)
        _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
    int status = 0;
    return waitpid(child, &status, 0) == child && status == 0;
}

} // namespace velnor::test

#endif
