// What a preference file holds at one moment.
#ifndef VELNOR_PLATFORM_PREFERENCES_PREFERENCEFILE_H
#define VELNOR_PLATFORM_PREFERENCES_PREFERENCEFILE_H

#include "platform/CFPropertyList.h"
#include "platform/values/CFDictionaryObject.h"
#include "platform/values/CacheHold.h"

#include <string>
#include <sys/stat.h>

namespace velnor {

// A file's identity, size and times. Two files, or one file before and after a change, differ in it
// unless the changes came within one tick of the file system's clock.
struct FileStamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};

    static FileStamp Of(const struct stat& info);
    bool operator==(const FileStamp& other) const;

    // True when every change after the moment, which is a time of the coarse clock, will show: the
    // last one is of an earlier tick, or of a computer whose clock is ahead.
    bool IsSettledAt(const timespec& moment) const;
};

enum class PreferenceFileState {
    absent,
    sound,     // a property list whose root is a dictionary
    foreign,   // a property list that other programs may read, but not this one
    damaged,   // anything else that can be read
    unreadable // something is there that cannot be read as a file of bearable size
};

// True of a file whose bytes are known.
constexpr bool HasContent(PreferenceFileState state) {
    return state != PreferenceFileState::absent && state != PreferenceFileState::unreadable;
}

struct PreferenceFile {
    PreferenceFileState state = PreferenceFileState::absent;
    FileStamp stamp;     // of a file with content
    std::string content; // likewise
    CFPropertyListFormat format = kCFPropertyListXMLFormat_v1_0;
    CacheHold<CFDictionaryRef> tree; // empty unless sound
};

// The state and stamp alone, by one system call: sound stands for foreign and damaged too.
PreferenceFile LookAtPreferenceFile(const std::string& path);

// Reads without parsing: sound stands for foreign and damaged too, and there is no tree.
PreferenceFile LoadPreferenceFile(const std::string& path);

// Makes the tree of a loaded file, or finds it foreign or damaged.
void ParsePreferenceFile(PreferenceFile& file);

// How often that was done in this process.
CFIndex PreferenceFileParseCount();

} // namespace velnor

#endif
