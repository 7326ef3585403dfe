#include "platform/preferences/PreferenceWriter.h"

#include "platform/files/FileSystem.h"
#include "platform/files/FolderMaking.h"
#include "platform/plist/PropertyListSize.h"
#include "platform/plist/PropertyListWriter.h"
#include "platform/preferences/FileReplacement.h"
#include "platform/preferences/TreeMerge.h"
#include "platform/values/CFStringObject.h"

#include <algorithm>

namespace velnor {
namespace {

constexpr std::chrono::seconds kPatience{10};

mode_t FolderMode(bool shared) {
    return shared ? 0755 : 0700;
}
mode_t FileMode(bool shared) {
    return shared ? 0644 : 0600;
}

// True when a tree, which may be null, is already as the changes want it.
bool Holds(CFDictionaryRef tree, const std::vector<PreferenceChange>& changes) {
    return std::all_of(changes.begin(), changes.end(), [tree](const PreferenceChange& change) {
        const auto* dictionary = CastIf<DictionaryObject>(tree);
        const CFTypeRef now = dictionary == nullptr ? nullptr : dictionary->Find(change.key);
        return IsSameValue(now, change.value.Get());
    });
}

// Those that failed before give way to what the file has by now.
std::vector<PreferenceChange> StillWanted(CFDictionaryRef tree,
                                          const std::vector<PreferenceChange>& changes) {
    const auto* dictionary = CastIf<DictionaryObject>(tree);
    std::vector<PreferenceChange> wanted;
    for (const PreferenceChange& change : changes) {
        const CFTypeRef now = dictionary == nullptr ? nullptr : dictionary->Find(change.key);
        CFRef<CFTypeRef> value = change.hasFailed
                                     ? MergeChanges(change.base.Get(), change.value.Get(), now)
                                     : change.value.Share();
        if (!change.hasFailed || !IsSameValue(now, value.Get())) {
            wanted.push_back({change.key, std::move(value), change.base.Share(), change.hasFailed});
        }
    }
    return wanted;
}

PropertyListSize SizeOfEntry(CFStringRef key, CFTypeRef value) {
    PropertyListSize size = SizeOfTree(key).value_or(PropertyListSize());
    size.Add(SizeOfTree(value).value_or(PropertyListSize()));
    return size;
}

// Entries and their size as a dictionary.
struct SizedEntries {
    DictionaryObject::Entries entries;
    PropertyListSize size;

    // False, and nothing done, when they would not be bearable with the change.
    bool Apply(const PreferenceChange& change) {
        CFRef<CFStringRef> key(CreateString(change.key));
        PropertyListSize changed = size;
        if (const auto old = entries.find(key); old != entries.end()) {
            changed.Subtract(SizeOfEntry(key.Get(), old->second.Get()));
        }
        if (change.value) {
            changed.Add(SizeOfEntry(key.Get(), change.value.Get()));
        }
        if (!changed.IsBearable()) {
            return false;
        }
        if (change.value) {
            entries.insert_or_assign(std::move(key), change.value.Share());
        } else {
            entries.erase(key);
        }
        size = changed;
        return true;
    }
};

struct MergedTree {
    CFRef<CFDictionaryRef> tree;
    bool isWhole; // has all the changes; else those that it has room for, removals first
};

MergedTree Merged(CFDictionaryRef tree, const std::vector<PreferenceChange>& changes) {
    SizedEntries merged;
    if (const auto size = SizeOfTree(tree)) {
        merged.size = *size;
    } else {
        merged.size.Add(0);
    }
    if (const auto* dictionary = CastIf<DictionaryObject>(tree)) {
        for (const auto& [key, value] : dictionary->All()) {
            merged.entries.emplace_hint(merged.entries.end(), key.Share(), value.Share());
        }
    }
    bool isWhole = true;
    for (const bool hasValue : {false, true}) {
        for (const PreferenceChange& change : changes) {
            isWhole = (bool{change.value} != hasValue || merged.Apply(change)) && isWhole;
        }
    }
    CFRef<CFDictionaryRef> result(
        RefOf<CFDictionaryRef>(new DictionaryObject(std::move(merged.entries), false)));
    return {std::move(result), isWhole};
}

// The tree of a file just loaded, from what is known of it where its content is the same.
void Understand(PreferenceFile& file, const PreferenceFile& known) {
    if (!HasContent(known.state) || known.content != file.content) {
        ParsePreferenceFile(file);
        return;
    }
    file.state = known.state;
    file.format = known.format;
    file.tree = CacheHold(known.tree.Share());
}

} // namespace

PreferenceWriter::PreferenceWriter(const std::string& path, bool shared) : mShared(shared) {
    const auto target =
        MakeFolders(FolderOf(path), FolderMode(shared)) ? FollowLinks(path) : std::nullopt;
    if (target) {
        mPath = *target;
        mLock.emplace(FolderOf(mPath), kPatience);
    }
}

std::optional<PreferenceWriter::Written>
PreferenceWriter::Merge(const std::vector<PreferenceChange>& all, const PreferenceFile& known) {
    Written written{LoadPreferenceFile(mPath), true};
    PreferenceFile& file = written.file;
    if (file.state == PreferenceFileState::sound) {
        Understand(file, known);
    }
    if (file.state == PreferenceFileState::unreadable ||
        file.state == PreferenceFileState::foreign) {
        return std::nullopt;
    }
    const auto changes = StillWanted(file.tree.Get(), all);
    if (Holds(file.tree.Get(), changes)) {
        return written;
    }
    auto merged = Merged(file.tree.Get(), changes);
    written.isWhole = merged.isWhole;
    return Replace(file, std::move(merged.tree)) ? std::optional(std::move(written)) : std::nullopt;
}

bool PreferenceWriter::Replace(PreferenceFile& file, CFRef<CFDictionaryRef> merged) {
    auto content = WritePropertyList(merged.Get(), file.format);
    if (!content) {
        file.format = kCFPropertyListBinaryFormat_v1_0;
        content = WritePropertyList(merged.Get(), file.format);
    }
    if (!content || (file.state == PreferenceFileState::damaged && !KeepUnderOtherName(mPath))) {
        return false;
    }
    const auto info = ReplaceFile(mPath, *content, FileMode(mShared));
    if (!info) {
        return false;
    }
    file.state = PreferenceFileState::sound;
    file.stamp = FileStamp::Of(*info);
    file.content = std::move(*content);
    file.tree = CacheHold(std::move(merged));
    return true;
}

} // namespace velnor
