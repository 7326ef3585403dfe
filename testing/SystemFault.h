// Processes whose calls to the file system fail.
#ifndef VELNOR_TESTING_SYSTEMFAULT_H
#define VELNOR_TESTING_SYSTEMFAULT_H

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>

namespace velnor::testing {

// What happens to one call. kChange: a write finds no space, a flush a broken disk, anything else
// that makes or renames a read-only file system; taking something away works. kRead: an open, a
// read or a look finds a broken disk. kVanish: just before any of these a folder goes.
// kChangesFromThere: every later change fails too. kDeath: the process is killed, at any call. The
// standard streams always work.
enum class Fault { kChange, kChangesFromThere, kRead, kVanish, kDeath };

struct FaultyRun {
    int status; // what work gave; below 0: minus the signal that ended the process
    bool met;   // whether there were so many calls
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

constexpr long kNames[] = {SYS_rename, SYS_renameat, SYS_renameat2, SYS_link, SYS_linkat};

// The path behind one of the process's descriptors. Empty for the standard streams, and for the
// pipe through which a sanitizer asks what it may read.
inline std::string openFile(pid_t process, unsigned long number) {
    std::error_code none;
    const std::string link =
        "/proc/" + std::to_string(process) + "/fd/" + std::to_string(static_cast<int>(number));
    const std::string path = std::filesystem::read_symlink(link, none).string();
    return number > STDERR_FILENO && path.starts_with('/') ? path : "";
}

// The error that the call gets, 0 when the fault does not concern it.
inline int errorOf(Fault fault, pid_t process, const user_regs_struct& registers) {
    if (fault == Fault::kVanish) {
        return std::max(errorOf(Fault::kChange, process, registers),
                        errorOf(Fault::kRead, process, registers));
    }
    if (fault == Fault::kDeath) {
        return EINTR;
    }
    const auto call = static_cast<long>(registers.*kNumber);
    if (call == SYS_open || call == SYS_openat) {
        const auto flags = registers.*(call == SYS_open ? kSecond : kThird);
        const bool changes = (flags & (O_ACCMODE | O_CREAT)) != O_RDONLY;
        return changes == (fault == Fault::kRead) ? 0 : changes ? EROFS : EIO;
    }
    const auto onFile = [&] { return !openFile(process, registers.*kFirst).empty(); };
    if (fault == Fault::kRead) {
        return isOneOf(kLooks, call) || (call == SYS_read && onFile()) ? EIO : 0;
    }
    if (isOneOf(kWrites, call)) {
        return onFile() ? ENOSPC : 0;
    }
    return call == SYS_fsync ? EIO : isOneOf(kMakes, call) ? EROFS : 0;
}

// Whether the call makes a file in the root folder, where a log goes when there is no home: nobody
// but an administrator could, and the tests of one must not.
inline bool makesFileInRoot(pid_t process, const user_regs_struct& registers) {
    const auto call = static_cast<long>(registers.*kNumber);
    if (call != SYS_open && call != SYS_openat) {
        return false;
    }
    const bool isAt = call == SYS_openat;
    if ((registers.*(isAt ? kThird : kSecond) & O_CREAT) == 0) {
        return false;
    }
    const auto path = registers.*(isAt ? kSecond : kFirst);
    const auto charAt = [&](std::size_t i) {
        const auto address = static_cast<std::uintptr_t>(path) + i;
        return static_cast<char>(ptrace(PTRACE_PEEKDATA, process, address, nullptr));
    };
    std::size_t end = 1;
    while (end < PATH_MAX && charAt(end) != '\0' && charAt(end) != '/') {
        ++end;
    }
    return charAt(0) == '/' && charAt(end) == '\0';
}

constexpr int kKill = -1; // instead of an error
// Called before each system call of the process; gives the error that the call gets, or 0.
using Watcher = std::function<int(pid_t, const user_regs_struct&)>;

// Lets the stopped child run on to its end, whose status it gives.
inline int follow(pid_t child, const Watcher& watcher) {
    constexpr int kSystemCall = SIGTRAP | 0x80;
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    int status = 0, error = 0, signal = 0;
    bool entering = true;
    while (ptrace(PTRACE_SYSCALL, child, nullptr, signal) == 0 &&
           waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        signal = WSTOPSIG(status) == kSystemCall ? 0 : WSTOPSIG(status);
        if (signal != 0) {
            continue;
        }
        user_regs_struct registers = {};
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        if (entering) {
            error = makesFileInRoot(child, registers) ? EACCES : watcher(child, registers);
        }
        if (error == kKill) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        }
        if (error != 0) {
            registers.*(entering ? kNumber : kResult) = Register(entering ? -1 : -error);
            ptrace(PTRACE_SETREGS, child, nullptr, &registers);
        }
        entering = !entering;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Runs work in a child process that is watched.
inline int runWatched(const std::function<int()>& work, const Watcher& watcher) {
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
            _exit(255);
        }
        raise(SIGSTOP);
        _exit(work());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSTOPPED(status) ? follow(child, watcher) : 255;
}

} // namespace faults

// Runs work in a child process, in which the fault comes to the number-th call that it concerns,
// the first being 1. kVanish takes the folder away.
inline FaultyRun runWithFault(Fault fault, int number, const std::function<int()>& work,
                              const std::string& folder = "") {
    int met = 0;
    const int status =
        faults::runWatched(work, [&](pid_t process, const user_regs_struct& registers) {
            const bool over = number < 1 || (met >= number && fault != Fault::kChangesFromThere);
            const int error = over ? 0 : faults::errorOf(fault, process, registers);
            if (error == 0 || ++met < number) {
                return 0;
            }
            if (fault == Fault::kVanish) {
                std::filesystem::remove_all(folder);
            }
            return fault == Fault::kVanish ? 0 : fault == Fault::kDeath ? faults::kKill : error;
        });
    return {status, met >= number};
}

// What a power cut after work, which is run in a child process, would take: files that were written
// but not flushed, or not before they got their name, and the name itself. Empty when all is safe.
inline std::string lostToAPowerCut(const std::function<int()>& work) {
    std::set<std::string> written;
    std::string lost, named;
    faults::runWatched(work, [&](pid_t process, const user_regs_struct& registers) {
        const auto call = static_cast<long>(registers.*faults::kNumber);
        const std::string path = faults::openFile(process, registers.*faults::kFirst);
        if (faults::isOneOf(faults::kWrites, call) && !path.empty()) {
            written.insert(path);
        } else if (call == SYS_fsync) {
            written.erase(path);
            named = std::filesystem::is_directory(path) ? "" : named;
        } else if (faults::isOneOf(faults::kNames, call)) {
            lost += written.empty() ? "" : "a name before the content of " + *written.begin();
            named = "a name in a folder that is not flushed";
        }
        return 0;
    });
    return lost + (written.empty() ? "" : "the content of " + *written.begin()) + named;
}

// Not every system lets a process do that.
inline bool canMakeFaults() {
    return runWithFault(Fault::kRead, 0, [] { return 0; }).status == 0;
}

} // namespace velnor::testing

#endif
