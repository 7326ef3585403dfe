#include "host/PartialFile.h"

#include "host/JobError.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

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

PartialFile::PartialFile(const std::string& path) : mPath(path) {
    if (path == "-") {
        mDescriptor = namelessFile();
        if (mDescriptor < 0)
            fail(std::string("no temporary file: ") + std::strerror(errno));
        return;
    }
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        fail("it is a folder; name a file");
    std::string name = path + ".part-XXXXXX";
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

void PartialFile::fail(const std::string& what) const {
    throw JobError((mPath == "-" ? "standard output" : mPath) + ": " + what);
}

void PartialFile::commit() {
    if (mTemporary.empty())
        return copyToStandardOutput();
    if (fsync(mDescriptor) != 0 && errno != EINVAL)
        fail(std::strerror(errno));
    if (rename(mTemporary.c_str(), mPath.c_str()) != 0)
        fail(std::strerror(errno));
    mTemporary.clear();
}

void PartialFile::copyToStandardOutput() {
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
                write(STDOUT_FILENO, piece.data() + done, static_cast<std::size_t>(count - done));
            if (written < 0 && errno != EINTR)
                fail(std::strerror(errno));
            done += written > 0 ? written : 0;
        }
    }
}

} // namespace velnor::host
