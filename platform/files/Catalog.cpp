#include "platform/Catalog.h"

#include "platform/files/FileSystem.h"
#include "platform/values/Unicode.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

struct OpaqueFSIterator {
    FSRef folder;
    velnor::UniqueFolder stream;
};

namespace velnor {
namespace {

// The next entry but "." and ".."; null at the end (error 0) and on failure (its errno value).
const dirent* NextEntry(DIR* stream, int& error) {
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(stream);
        if (entry == nullptr) {
            error = errno;
            return nullptr;
        }
        if (!IsDotOrDotDot(entry->d_name)) {
            return entry;
        }
    }
}

// The errno value of the look-up that some file systems need, or 0.
int FindWhetherFolder(DIR* stream, const dirent& entry, bool& isFolder) {
    if (entry.d_type != DT_UNKNOWN) {
        isFolder = entry.d_type == DT_DIR;
        return 0;
    }
    struct stat info;
    const int folder = dirfd(stream);
    if (folder < 0 || fstatat(folder, entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    isFolder = S_ISDIR(info.st_mode);
    return 0;
}

void AssignName(HFSUniStr255& name, std::string_view text) {
    name.length = 0;
    UInt16 units = 0;
    while (!text.empty()) {
        const auto next = DecodeUtf8(text);
        if (!next) {
            return;
        }
        units = static_cast<UInt16>(units + EncodeUtf16(next->scalar, name.unicode + units));
        text.remove_prefix(next->length);
    }
    name.length = units;
}

// Where the facts about one entry go; each pointer may be null.
struct EntrySink {
    FSCatalogInfo* info;
    FSRef* ref;
    HFSUniStr255* name;
};

enum class EntryResult { Taken, Vanished, Failed };

EntryResult TakeEntry(const OpaqueFSIterator& iterator, const dirent& entry,
                      FSCatalogInfoBitmap which, const EntrySink& sink, OSErr& status) {
    if (sink.info != nullptr) {
        *sink.info = {};
    }
    if (sink.info != nullptr && (which & kFSCatInfoNodeFlags) != 0) {
        bool isFolder = false;
        const int error = FindWhetherFolder(iterator.stream.get(), entry, isFolder);
        if (error != 0) {
            status = StatusOfErrno(error);
            return error == ENOENT ? EntryResult::Vanished : EntryResult::Failed;
        }
        sink.info->nodeFlags = isFolder ? kFSNodeIsDirectoryMask : 0;
    }
    if (sink.ref != nullptr) {
        status = MakeChildRef(iterator.folder, entry.d_name, *sink.ref);
        if (status != noErr) {
            return EntryResult::Failed;
        }
    }
    if (sink.name != nullptr) {
        AssignName(*sink.name, entry.d_name);
    }
    return EntryResult::Taken;
}

} // namespace
} // namespace velnor

OSStatus FSOpenIterator(const FSRef* folder, UInt32 flags, FSIterator* iterator) {
    if (folder == nullptr || flags != kFSIterateFlat || iterator == nullptr) {
        return paramErr;
    }
    velnor::UniqueFolder stream(opendir(folder->path));
    if (!stream) {
        return errno == ENOENT ? static_cast<OSErr>(dirNFErr) : velnor::StatusOfErrno(errno);
    }
    *iterator = new OpaqueFSIterator{*folder, std::move(stream)};
    return noErr;
}

OSErr FSGetCatalogInfoBulk(FSIterator iterator, UInt32 maximum, UInt32* actual, Boolean* changed,
                           FSCatalogInfoBitmap which, FSCatalogInfo* infos, FSRef* refs,
                           void* specs, HFSUniStr255* names) {
    if (iterator == nullptr || maximum == 0 || actual == nullptr || changed != nullptr ||
        specs != nullptr) {
        return paramErr;
    }
    *actual = 0;
    while (*actual < maximum) {
        int error = 0;
        const dirent* entry = velnor::NextEntry(iterator->stream.get(), error);
        if (entry == nullptr) {
            return error == 0 ? static_cast<OSErr>(errFSNoMoreItems) : velnor::StatusOfErrno(error);
        }
        const UInt32 i = *actual;
        const velnor::EntrySink sink{infos ? infos + i : nullptr, refs ? refs + i : nullptr,
                                     names ? names + i : nullptr};
        OSErr status = noErr;
        switch (velnor::TakeEntry(*iterator, *entry, which, sink, status)) {
        case velnor::EntryResult::Taken:
            ++*actual;
            break;
        case velnor::EntryResult::Vanished:
            break;
        case velnor::EntryResult::Failed:
            return status;
        }
    }
    return noErr;
}

OSErr FSCloseIterator(FSIterator iterator) {
    if (iterator == nullptr) {
        return paramErr;
    }
    delete iterator;
    return noErr;
}
