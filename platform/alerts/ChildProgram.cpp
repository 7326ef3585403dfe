#include "platform/alerts/ChildProgram.h"

#include "platform/UniqueFd.h"
#include "platform/files/XdgFolders.h"

#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace velnor {
namespace {

constexpr std::size_t kMaximumOutput = 4096;
constexpr std::size_t kPipeCapacity = 65536;
constexpr int kFirstInheritedFile = 3;

// The argument list in the form that the system takes, borrowing the texts.
std::vector<char*> ArgumentPointers(const std::string& path,
                                    const std::vector<std::string>& arguments) {
    std::vector<char*> pointers{const_cast<char*>(path.c_str())};
    for (const auto& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

sigset_t SignalsToRestore() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) {
        sigaddset(&signals, signal);
    }
    return signals;
}

class SpawnAttributes {
public:
    SpawnAttributes() {
        posix_spawnattr_init(&mAttributes);
        const sigset_t defaults = SignalsToRestore();
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&mAttributes, &defaults);
        posix_spawnattr_setsigmask(&mAttributes, &none);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&mAttributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    const posix_spawnattr_t* Get() const { return &mAttributes; }

private:
    posix_spawnattr_t mAttributes;
};

// Standard input from nowhere, the standard outputs to these, nothing else.
class SpawnFiles {
public:
    SpawnFiles(int output, int errors) {
        posix_spawn_file_actions_init(&mActions);
        posix_spawn_file_actions_addopen(&mActions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&mActions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&mActions, errors, STDERR_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&mActions, kFirstInheritedFile);
    }
    ~SpawnFiles() { posix_spawn_file_actions_destroy(&mActions); }
    SpawnFiles(const SpawnFiles&) = delete;
    SpawnFiles& operator=(const SpawnFiles&) = delete;
    const posix_spawn_file_actions_t* Get() const { return &mActions; }

private:
    posix_spawn_file_actions_t mActions;
};

// What a program writes to one of its standard outputs.
class Output {
public:
    Output() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) == 0) {
            mRead.Reset(ends[0]);
            mWrite.Reset(ends[1]);
            fcntl(ends[0], F_SETFL, O_NONBLOCK);
        }
    }

    // The program's end; below 0 when there is none.
    int Writer() const { return mWrite.Get(); }
    void CloseWriter() { mWrite.Reset(); }

    // This process's end; below 0 after the last byte.
    int Reader() const { return mRead.Get(); }
    // Takes what is there, at most what a pipe holds, and keeps the first bytes.
    void Read() {
        char block[512];
        for (std::size_t taken = 0; taken < kPipeCapacity && mRead; taken += sizeof block) {
            const ssize_t got = read(mRead.Get(), block, sizeof block);
            if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
                return;
            }
            if (got <= 0) {
                mRead.Reset();
            } else if (mText.size() < kMaximumOutput) {
                mText.append(block, static_cast<std::size_t>(got));
            }
        }
    }
    std::string TakeText() { return std::move(mText); }

private:
    UniqueFd mRead;
    UniqueFd mWrite;
    std::string mText;
};

// Reads until the program has ended; its own children may hold the outputs open for longer. On a
// system that cannot tell, until both outputs are closed. False when the deadline came first.
bool ReadToEnd(pid_t child, Output& output, Output& errors, const Deadline& deadline) {
    const UniqueFd end(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    for (;;) {
        pollfd waits[] = {
            {end.Get(), POLLIN, 0}, {output.Reader(), POLLIN, 0}, {errors.Reader(), POLLIN, 0}};
        if (!deadline.Wait(waits)) {
            return false;
        }
        output.Read();
        errors.Read();
        if (waits[0].revents != 0 || (!end && output.Reader() < 0 && errors.Reader() < 0)) {
            return true;
        }
    }
}

// Collects the child's status.
ProgramResult::End WaitForEnd(pid_t child, int& exitStatus) {
    int status = 0;
    pid_t collected = -1;
    do {
        collected = waitpid(child, &status, 0);
    } while (collected < 0 && errno == EINTR);
    if (collected < 0) {
        return ProgramResult::End::Unknown;
    }
    exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return WIFEXITED(status) ? ProgramResult::End::Exited : ProgramResult::End::Failed;
}

// In a child after fork, where only calls that are safe in a signal handler may be made.
[[noreturn]] void BecomeProgram(char* const* arguments, const sigset_t& defaults) {
    for (int signal = 1; signal < NSIG; ++signal) {
        if (sigismember(&defaults, signal) == 1) {
            ::signal(signal, SIG_DFL);
        }
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    close_range(kFirstInheritedFile, UINT_MAX, CLOSE_RANGE_CLOEXEC);
    execv(arguments[0], arguments);
    _exit(127);
}

} // namespace

std::optional<std::string> FindProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    for (const auto& folder : AbsolutePaths(path ? path : "/usr/local/bin:/usr/bin:/bin")) {
        std::string file = std::string(folder).append("/").append(name);
        struct stat info;
        if (stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return std::nullopt;
}

ProgramResult RunProgram(const std::string& path, const std::vector<std::string>& arguments,
                         const Deadline& deadline) {
    ProgramResult result{ProgramResult::End::Failed, 0, {}, {}};
    Output output;
    Output errors;
    pid_t child = 0;
    if (output.Writer() < 0 || errors.Writer() < 0 ||
        posix_spawn(&child, path.c_str(), SpawnFiles(output.Writer(), errors.Writer()).Get(),
                    SpawnAttributes().Get(), ArgumentPointers(path, arguments).data(),
                    environ) != 0) {
        return result;
    }
    output.CloseWriter();
    errors.CloseWriter();
    const bool ended = ReadToEnd(child, output, errors, deadline);
    result.output = output.TakeText();
    result.errors = errors.TakeText();
    if (!ended) {
        kill(child, SIGKILL);
    }
    result.end = WaitForEnd(child, result.status);
    if (!ended) {
        result.end = ProgramResult::End::TimedOut;
    }
    return result;
}

bool StartDetachedProgram(const std::string& path, const std::vector<std::string>& arguments) {
    const auto pointers = ArgumentPointers(path, arguments);
    const sigset_t defaults = SignalsToRestore();
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            BecomeProgram(pointers.data(), defaults);
        }
        _exit(grandchild < 0 ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    if (child < 0) {
        return false;
    }
    int status = 0;
    const auto end = WaitForEnd(child, status);
    return end == ProgramResult::End::Unknown ||
           (end == ProgramResult::End::Exited && status == EXIT_SUCCESS);
}

} // namespace velnor
