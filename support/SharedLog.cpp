#include "support/SharedLog.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <memory>
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

// By path. Null while there is none: a module that is unloaded leaves nothing behind, and a logger
// that goes at the process's end still finds its own.
using Writers = std::map<std::string, Writer>;
Writers* sWriters = nullptr;

Writer& writerOf(const std::string& path) {
    auto made = sWriters == nullptr ? std::make_unique<Writers>() : nullptr;
    Writer& writer = (sWriters == nullptr ? *made : *sWriters)[path];
    if (made) {
        sWriters = made.release();
    }
    return writer;
}

// Null for a log that was not entered.
Writer* findWriter(const std::string& path) {
    const auto found = sWriters != nullptr ? sWriters->find(path) : Writers::iterator();
    return sWriters != nullptr && found != sWriters->end() ? &found->second : nullptr;
}

void forgetWriter(const std::string& path) {
    sWriters->erase(path);
    if (sWriters->empty()) {
        std::unique_ptr<Writers>(sWriters).reset();
        sWriters = nullptr;
    }
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
    Writer& writer = writerOf(path);
    openLock(writer, path);
    if (writer.file < 0) {
        forgetWriter(path);
        saveOld();
        return;
    }
    ++writer.count;
    share(writer.file, path, saveOld);
}

SharedLogExit::SharedLogExit(const std::string& path) noexcept : mPath(path) {
    if (const Writer* writer = findWriter(path)) {
        mIsLast = writer->process == getpid() && isAlone(writer->file);
    }
}

SharedLogExit::~SharedLogExit() {
    Writer* writer = findWriter(mPath);
    if (writer == nullptr || writer->process != getpid()) {
        return;
    }
    flock(writer->file, LOCK_SH | LOCK_NB);
    if (writer->count <= 1) {
        close(writer->file);
        forgetWriter(mPath);
    } else {
        --writer->count;
    }
}

} // namespace velnor
