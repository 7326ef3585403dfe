#include "platform/preferences/PreferenceFile.h"

#include "platform/UniqueFd.h"
#include "platform/plist/ForeignPropertyList.h"
#include "platform/plist/PropertyListReader.h"
#include "platform/plist/PropertyListSize.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>

namespace velnor {
namespace {

std::atomic<CFIndex> gParseCount{0};

bool SameTime(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// Times further ahead come from another computer.
constexpr time_t kSecondsAhead = 2;

bool IsOfOtherTick(const timespec& time, const timespec& now) {
    const bool isEarlier =
        time.tv_sec < now.tv_sec || (time.tv_sec == now.tv_sec && time.tv_nsec < now.tv_nsec);
    return isEarlier || time.tv_sec > now.tv_sec + kSecondsAhead;
}

PreferenceFileState StateOfError(int error) {
    return error == ENOENT || error == ENOTDIR ? PreferenceFileState::absent
                                               : PreferenceFileState::unreadable;
}

PreferenceFile Unread(PreferenceFileState state) {
    PreferenceFile file;
    file.state = state;
    return file;
}

PreferenceFile Described(const struct stat& info) {
    if (!S_ISREG(info.st_mode) || info.st_size > static_cast<off_t>(kMaxPropertyListBytes)) {
        return Unread(PreferenceFileState::unreadable);
    }
    PreferenceFile file = Unread(PreferenceFileState::sound);
    file.stamp = FileStamp::Of(info);
    return file;
}

// False when the file cannot be read to its end.
bool ReadInto(std::string& content, int fd, std::size_t size) {
    content.resize(size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = read(fd, content.data() + done, size - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return done == size;
}

} // namespace

FileStamp FileStamp::Of(const struct stat& info) {
    return {info.st_dev, info.st_ino, info.st_size, info.st_mtim, info.st_ctim};
}

bool FileStamp::operator==(const FileStamp& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           SameTime(modified, other.modified) && SameTime(changed, other.changed);
}

bool FileStamp::IsSettledAt(const timespec& moment) const {
    return IsOfOtherTick(modified, moment) && IsOfOtherTick(changed, moment);
}

PreferenceFile LookAtPreferenceFile(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? Described(info) : Unread(StateOfError(errno));
}

PreferenceFile LoadPreferenceFile(const std::string& path) {
    const UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd) {
        return Unread(StateOfError(errno));
    }
    // A file that another program changes in place is read again until it holds still.
    for (int attempt = 0; attempt < 3; ++attempt) {
        struct stat before;
        struct stat after;
        if (fstat(fd.Get(), &before) != 0) {
            return Unread(PreferenceFileState::unreadable);
        }
        PreferenceFile file = Described(before);
        if (file.state != PreferenceFileState::sound) {
            return file;
        }
        const bool whole =
            lseek(fd.Get(), 0, SEEK_SET) == 0 &&
            ReadInto(file.content, fd.Get(), static_cast<std::size_t>(before.st_size));
        if (whole && fstat(fd.Get(), &after) == 0 && FileStamp::Of(after) == file.stamp) {
            return file;
        }
    }
    return Unread(PreferenceFileState::unreadable);
}

void ParsePreferenceFile(PreferenceFile& file) {
    gParseCount.fetch_add(1);
    auto root = ReadPropertyList(file.content, kCFPropertyListImmutable, &file.format);
    if (CastIf<DictionaryObject>(root.Get()) == nullptr) {
        const bool isForeign = root || IsForeignPropertyList(file.content);
        file.state = isForeign ? PreferenceFileState::foreign : PreferenceFileState::damaged;
        return;
    }
    file.tree = CacheHold(CFRef(static_cast<CFDictionaryRef>(root.Detach())));
}

CFIndex PreferenceFileParseCount() {
    return gParseCount.load();
}

} // namespace velnor
