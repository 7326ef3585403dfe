#include "support/SharedLog.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace velnor {

namespace {

// A writer holds a shared lock, and an exclusive one while it begins or ends alone. Both go with
// the process.
struct Writer {
    int file = -1;
    unsigned count = 0; // of loggers in this process
    pid_t process = 0;  // a child process inherits the lock and must not touch it
};

// By path.
std::map<std::string, Writer>& writers() {
    static auto& all = *new std::map<std::string, Writer>;
    return all;
}

bool isFileAt(int file, const std::string& path) {
    struct stat ours;
    struct stat there;
    return fstat(file, &ours) == 0 && stat(path.c_str(), &there) == 0 &&
           ours.st_dev == there.st_dev && ours.st_ino == there.st_ino;
}

void openLock(Writer& writer, const std::string& path) {
    const bool isInherited = writer.process != getpid();
    if (writer.file >= 0 && (isInherited || !isFileAt(writer.file, path))) {
        close(writer.file);
        writer = Writer{};
    }
    if (writer.file < 0) {
        writer.process = getpid();
        writer.file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666);
    }
}

// Without locks everybody is alone.
bool isAlone(int file) {
    return flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool endsClosed(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char last = 0;
    return in.seekg(-1, std::ios::end) && in.get(last) && last == kCleanCloseMark;
}

// Others hold the exclusive lock for a moment only; one that is stopped meanwhile is not waited
// for.
void share(int file, const std::string& path, const std::function<void()>& saveOld) {
    constexpr int kAttempts = 200;
    constexpr std::chrono::milliseconds kPause{5};
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (isAlone(file)) {
            saveOld();
            [[maybe_unused]] const int ignored = ftruncate(file, 0);
            flock(file, LOCK_SH | LOCK_NB);
            return;
        }
        // Those who were here may have closed the log in between.
        if (flock(file, LOCK_SH | LOCK_NB) == 0 && !endsClosed(path)) {
            return;
        }
        std::this_thread::sleep_for(kPause);
    }
}

} // namespace

void enterSharedLog(const std::string& path, const std::function<void()>& saveOld) {
    Writer& writer = writers()[path];
    openLock(writer, path);
    if (writer.file < 0) {
        saveOld();
        return;
    }
    ++writer.count;
    share(writer.file, path, saveOld);
}

SharedLogExit::SharedLogExit(const std::string& path) noexcept : mPath(path) {
    const auto writer = writers().find(path);
    if (writer != writers().end() && writer->second.file >= 0) {
        mIsLast = writer->second.process == getpid() && isAlone(writer->second.file);
    }
}

SharedLogExit::~SharedLogExit() {
    const auto entry = writers().find(mPath);
    const bool isMine = entry != writers().end() && entry->second.process == getpid();
    if (!isMine || entry->second.file < 0) {
        return;
    }
    Writer& writer = entry->second;
    flock(writer.file, LOCK_SH | LOCK_NB);
    if (writer.count <= 1) {
        close(writer.file);
        writers().erase(entry);
    } else {
        --writer.count;
    }
}

} // namespace velnor
