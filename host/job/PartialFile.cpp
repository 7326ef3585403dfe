#include "host/job/PartialFile.h"

#include "host/job/Interruption.h"
#include "host/job/JobError.h"
#include "host/job/TemporaryNames.h"
#include "host/job/Terminal.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor::host {

namespace {

constexpr std::size_t kCopyPiece = 1 << 16;
constexpr std::string_view kSuffix = ".part-XXXXXX"; // for mkostemp
constexpr std::size_t kSuffixLetters = 6;

UniqueFd namelessFile() {
    const char* folder = std::getenv("TMPDIR");
    std::string name = std::string(folder && *folder ? folder : "/tmp") + "/velnor-host.XXXXXX";
    UniqueFd file(mkostemp(name.data(), O_CLOEXEC));
    if (file) {
        unlink(name.c_str());
    }
    return file;
}

// path itself where nothing is there yet.
std::string withoutLinks(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? real.get() : path;
}

// In the file's folder; the suffix must not make a long name too long.
std::string partialName(const std::string& path) {
    const std::size_t start = path.find_last_of('/') + 1;
    return path.substr(0, start) + path.substr(start, NAME_MAX - kSuffix.size()) +
           std::string(kSuffix);
}

// So that the name outlives a power cut, too. The file is there already: what fails is passed over.
void flushFolder(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    if (const UniqueFd opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); opened) {
        fsync(opened.Get());
    }
}

// What a newly created file may be used for, as the process's mask says.
mode_t fileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

PartialFile::PartialFile(const std::string& path) : mPath(path), mTarget(withoutLinks(path)) {
    if (path == "-") {
        openNameless();
        return;
    }
    struct stat status = {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        fail("it is a folder; name a file");
    }
    if (exists && !S_ISREG(status.st_mode)) {
        openNameless();
        return;
    }
    std::string name = partialName(mTarget);
    mFile.Reset(mkostemp(name.data(), O_CLOEXEC));
    if (!mFile) {
        fail(std::strerror(errno));
    }
    mTemporary = name;
    mSlot = takeTemporaryName(name);
    fchmod(descriptor(), fileMode());
}

PartialFile::~PartialFile() {
    if (!mTemporary.empty()) {
        unlink(mTemporary.c_str());
    }
    giveTemporaryName(mSlot);
}

void PartialFile::openNameless() {
    mFile = namelessFile();
    if (!mFile) {
        fail(std::string("no temporary file: ") + std::strerror(errno));
    }
}

void PartialFile::fail(const std::string& what) const {
    const std::string name = mPath.empty() ? "\"\"" : mPath;
    throw JobError((mPath == "-" ? "standard output" : name) + ": " + what);
}

void PartialFile::commit() {
    if (mTemporary.empty()) {
        return copyOut();
    }
    if (fsync(descriptor()) != 0 && errno != EINVAL) {
        fail(std::strerror(errno));
    }
    if (rename(mTemporary.c_str(), mTarget.c_str()) != 0) {
        fail(std::strerror(errno));
    }
    mTemporary.clear();
    flushFolder(mTarget);
}

void PartialFile::copyOut() {
    if (mPath == "-") {
        return copyTo(STDOUT_FILENO);
    }
    const UniqueFd target(open(mPath.c_str(), O_WRONLY | O_CLOEXEC));
    if (!target) {
        fail(std::strerror(errno));
    }
    copyTo(target.Get());
}

void PartialFile::copyTo(int target) {
    std::array<char, kCopyPiece> piece;
    std::string shown; // a terminal gets the whole, cleaned
    if (lseek(descriptor(), 0, SEEK_SET) != 0) {
        fail(std::strerror(errno));
    }
    while (true) {
        const ssize_t count = read(descriptor(), piece.data(), piece.size());
        if (count < 0) {
            fail(std::strerror(errno));
        }
        const std::string_view bytes(piece.data(), static_cast<std::size_t>(count));
        if (count == 0) {
            return writeTo(target, shownText(target, std::move(shown)));
        }
        if (isatty(target) == 1) {
            shown += bytes;
        } else {
            writeTo(target, bytes);
        }
    }
}

void PartialFile::writeTo(int target, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(target, bytes.data(), bytes.size());
        if (interrupted()) {
            throw JobError("interrupted; the output is cut short");
        }
        if (written < 0 && errno != EINTR) {
            fail(std::strerror(errno));
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

bool isPartialName(std::string_view name) {
    if (name.size() < kSuffix.size()) {
        return false;
    }
    const std::string_view suffix = name.substr(name.size() - kSuffix.size());
    const std::string_view letters = suffix.substr(suffix.size() - kSuffixLetters);
    return suffix.starts_with(kSuffix.substr(0, kSuffix.size() - kSuffixLetters)) &&
           std::all_of(letters.begin(), letters.end(),
                       [](unsigned char c) { return std::isalnum(c) != 0; });
}

} // namespace velnor::host
