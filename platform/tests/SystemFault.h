/* Processes whose calls to the file system fail. */
#ifndef VELNOR_PLATFORM_TESTS_SYSTEMFAULT_H
#define VELNOR_PLATFORM_TESTS_SYSTEMFAULT_H

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velnor::test {

/* What happens to one call. kChange: a write finds no space, a flush a broken disk, anything else
 * that makes or renames a read-only file system; taking something away works. kRead: an open, a
 * read or a look finds a broken disk. kVanish: just before any of these a folder goes.
 * kChangesFromThere: every later change fails too. kDeath: the process is killed, at any call. The
 * standard streams always work. */
enum class Fault { kChange, kChangesFromThere, kRead, kVanish, kDeath };

struct FaultyRun {
    int status; /* what work gave; below 0: minus the signal that ended the process */
    bool met;   /* whether there were so many calls */
};

namespace faults {

#if defined(__x86_64__)
constexpr auto kNumber = &user_regs_struct::orig_rax, kResult = &user_regs_struct::rax,
               kFirst = &user_regs_struct::rdi, kSecond = &user_regs_struct::rsi,
               kThird = &user_regs_struct::rdx;
constexpr long kLooks[] = {SYS_getdents64, SYS_stat,      SYS_lstat,      SYS_statx,
                           SYS_newfstatat, SYS_readlink,  SYS_readlinkat, SYS_access,
                           SYS_faccessat,  SYS_faccessat2};
constexpr long kMakes[] = {SYS_rename, SYS_renameat, SYS_renameat2, SYS_link,
                           SYS_linkat, SYS_mkdir,    SYS_symlinkat, SYS_ftruncate,
                           SYS_fchmod, SYS_mkdirat,  SYS_utimensat};
#else
constexpr auto kNumber = &user_regs_struct::orig_eax, kResult = &user_regs_struct::eax,
               kFirst = &user_regs_struct::ebx, kSecond = &user_regs_struct::ecx,
               kThird = &user_regs_struct::edx;
constexpr long kLooks[] = {SYS_getdents64, SYS_stat64,    SYS_lstat64,    SYS_statx,
                           SYS_fstatat64,  SYS_readlink,  SYS_readlinkat, SYS_access,
                           SYS_faccessat,  SYS_faccessat2};
constexpr long kMakes[] = {SYS_rename, SYS_renameat, SYS_renameat2,       SYS_link,
                           SYS_linkat, SYS_mkdir,    SYS_symlinkat,       SYS_ftruncate64,
                           SYS_fchmod, SYS_mkdirat,  SYS_utimensat_time64};
#endif
using Register = std::remove_cvref_t<decltype(user_regs_struct().*kNumber)>;
constexpr long kWrites[] = {SYS_write, SYS_writev, SYS_pwrite64};

template <std::size_t Size>
bool isOneOf(const long (&calls)[Size], long call) {
    return std::find(std::begin(calls), std::end(calls), call) != std::end(calls);
}

/* Not the standard streams, and not the pipe through which a sanitizer asks what it may read. */
inline bool isOpenFile(pid_t process, unsigned long number) {
    const std::string path = "/proc/" + std::to_string(process) + "/fd/" + std::to_string(number);
    char first = 0;
    return number > STDERR_FILENO && readlink(path.c_str(), &first, 1) == 1 && first == '/';
}

/* The error that the call gets, 0 when the fault does not concern it. */
inline int errorOf(Fault fault, pid_t process, const user_regs_struct& registers) {
    if (fault == Fault::kVanish)
        return std::max(errorOf(Fault::kChange, process, registers),
                        errorOf(Fault::kRead, process, registers));
    if (fault == Fault::kDeath)
        return EINTR;
    const auto call = static_cast<long>(registers.*kNumber);
    if (call == SYS_open || call == SYS_openat) {
        const auto flags = registers.*(call == SYS_open ? kSecond : kThird);
        const bool changes = (flags & (O_ACCMODE | O_CREAT)) != O_RDONLY;
        return changes == (fault == Fault::kRead) ? 0 : changes ? EROFS : EIO;
    }
    const auto onFile = [&] { return isOpenFile(process, registers.*kFirst); };
    if (fault == Fault::kRead)
        return isOneOf(kLooks, call) || (call == SYS_read && onFile()) ? EIO : 0;
    if (isOneOf(kWrites, call))
        return onFile() ? ENOSPC : 0;
    return call == SYS_fsync ? EIO : isOneOf(kMakes, call) ? EROFS : 0;
}

/* Lets the stopped child run on to its end. */
inline FaultyRun follow(pid_t child, Fault fault, int number, const std::string& folder) {
    constexpr int kSystemCall = SIGTRAP | 0x80;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    int status = 0, met = 0, error = 0, signal = 0;
    bool entering = true;
    const auto concerns = [&](const user_regs_struct& registers) {
        const bool over = number < 1 || (met >= number && fault != Fault::kChangesFromThere);
        error = over ? 0 : errorOf(fault, child, registers);
        return error != 0 && ++met >= number;
    };
    while (ptrace(PTRACE_SYSCALL, child, nullptr, signal) == 0 &&
           waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        signal = WSTOPSIG(status) == kSystemCall ? 0 : WSTOPSIG(status);
        if (signal != 0)
            continue;
        user_regs_struct registers = {};
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        if (!entering) {
            if (error != 0)
                registers.*kResult = Register(-error);
        } else if (!concerns(registers)) {
            error = 0;
        } else if (fault == Fault::kVanish) {
            std::filesystem::remove_all(folder);
            error = 0;
        } else if (fault == Fault::kDeath) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        } else {
            registers.*kNumber = Register(-1); /* no system call */
        }
        ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        entering = !entering;
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), met >= number};
}

} // namespace faults

/* Runs work in a child process, in which the fault comes to the number-th call that it concerns,
 * the first being 1. kVanish takes the folder away. */
inline FaultyRun runWithFault(Fault fault, int number, const std::function<int()>& work,
                              const std::string& folder = "") {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(255);
        raise(SIGSTOP);
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSTOPPED(status) ? faults::follow(child, fault, number, folder)
                              : FaultyRun{255, false};
}

/* Not every system lets a process do that. */
inline bool canMakeFaults() {
    return runWithFault(Fault::kRead, 0, [] { return 0; }).status == 0;
}

} // namespace velnor::test

#endif
