#include "host/PartialFile.h"

#include "host/Interruption.h"
#include "host/JobError.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor::host {

namespace {

constexpr int kMostFiles = 64;
constexpr std::size_t kCopyPiece = 1 << 16;

/* The names of the temporary files, where a signal handler finds them. A slot is in use while its
 * flag is set; its name is written before that. */
struct Slot {
    std::atomic<bool> used{false};
    std::array<char, PATH_MAX> name{};
};
std::array<Slot, kMostFiles> sSlots;

int takeSlot(const std::string& name) {
    for (int i = 0; i < kMostFiles; ++i) {
        Slot& slot = sSlots[static_cast<std::size_t>(i)];
        if (slot.used || name.size() >= slot.name.size())
            continue;
        std::memcpy(slot.name.data(), name.c_str(), name.size() + 1);
        slot.used = true;
        return i;
    }
    return -1;
}

void giveSlot(int slot) {
    if (slot >= 0)
        sSlots[static_cast<std::size_t>(slot)].used = false;
}

int namelessFile() {
    const char* folder = std::getenv("TMPDIR");
    std::string name = std::string(folder && *folder ? folder : "/tmp") + "/velnor-host.XXXXXX";
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor >= 0)
        unlink(name.c_str());
    return descriptor;
}

/* path itself where nothing is there yet. */
std::string withoutLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? real.get() : path;
}

/* In the file's folder; the suffix must not make a long name too long. */
std::string partialName(const std::string& path) {
    constexpr std::string_view kSuffix = ".part-XXXXXX";
    const std::size_t start = path.find_last_of('/') + 1;
    return path.substr(0, start) + path.substr(start, NAME_MAX - kSuffix.size()) +
           std::string(kSuffix);
}

struct FileDescriptor {
    explicit FileDescriptor(int opened) : number(opened) {}
    ~FileDescriptor() {
        if (number >= 0)
            close(number);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    const int number;
};

/* What a newly created file may be used for, as the process's mask says. */
mode_t fileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

void removePartialFiles() {
    for (Slot& slot : sSlots)
        if (slot.used)
            unlink(slot.name.data());
}

PartialFile::PartialFile(const std::string& path) : mPath(path), mTarget(withoutLinks(path)) {
    if (path == "-") {
        openNameless();
        return;
    }
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode))
        fail("it is a folder; name a file");
    if (exists && !S_ISREG(status.st_mode)) {
        openNameless();
        return;
    }
    std::string name = partialName(mTarget);
    mDescriptor = mkostemp(name.data(), O_CLOEXEC);
    if (mDescriptor < 0)
        fail(std::strerror(errno));
    mTemporary = name;
    mSlot = takeSlot(name);
    fchmod(mDescriptor, fileMode());
}

PartialFile::~PartialFile() {
    if (mDescriptor >= 0)
        close(mDescriptor);
    if (!mTemporary.empty())
        unlink(mTemporary.c_str());
    giveSlot(mSlot);
}

void PartialFile::openNameless() {
    mDescriptor = namelessFile();
    if (mDescriptor < 0)
        fail(std::string("no temporary file: ") + std::strerror(errno));
}

void PartialFile::fail(const std::string& what) const {
    const std::string name = mPath.empty() ? "\"\"" : mPath;
    throw JobError((mPath == "-" ? "standard output" : name) + ": " + what);
}

void PartialFile::commit() {
    if (mTemporary.empty())
        return copyOut();
    if (fsync(mDescriptor) != 0 && errno != EINVAL)
        fail(std::strerror(errno));
    if (rename(mTemporary.c_str(), mTarget.c_str()) != 0)
        fail(std::strerror(errno));
    mTemporary.clear();
}

void PartialFile::copyOut() {
    if (mPath == "-")
        return copyTo(STDOUT_FILENO);
    const FileDescriptor target(open(mPath.c_str(), O_WRONLY | O_CLOEXEC));
    if (target.number < 0)
        fail(std::strerror(errno));
    copyTo(target.number);
}

void PartialFile::copyTo(int target) {
    std::array<char, kCopyPiece> piece;
    if (lseek(mDescriptor, 0, SEEK_SET) != 0)
        fail(std::strerror(errno));
    while (true) {
        const ssize_t count = read(mDescriptor, piece.data(), piece.size());
        if (count < 0)
            fail(std::strerror(errno));
        if (count == 0)
            return;
        for (ssize_t done = 0; done < count;) {
            const ssize_t written =
                write(target, piece.data() + done, static_cast<std::size_t>(count - done));
            if (interrupted())
                throw JobError("interrupted; the output is cut short");
            if (written < 0 && errno != EINTR)
                fail(std::strerror(errno));
            done += written > 0 ? written : 0;
        }
    }
}

} // namespace velnor::host
