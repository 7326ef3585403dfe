#include "support/Listing.h"

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/Catalog.h"

#include <functional>
#include <vector>

namespace velnor {

namespace {

constexpr std::size_t kTextBufferSize = 1025; // 1,024 bytes and the terminator

struct Entry {
    std::string path; // empty when it is too long
    std::string name; // empty when it is not UTF-8
    bool isDirectory;
};

// Called for each entry; true to look into it later, which only makes sense for a folder.
using Visitor = std::function<bool(const Entry&)>;

std::string pathOf(const FSRef& ref) {
    UInt8 path[kTextBufferSize];
    if (FSRefMakePath(&ref, path, sizeof path) != noErr) {
        return "";
    }
    return reinterpret_cast<const char*>(path);
}

std::string textOf(const HFSUniStr255& name) {
    const CFRef<CFStringRef> text(
        CFStringCreateWithCharacters(kCFAllocatorDefault, name.unicode, name.length));
    char buffer[kTextBufferSize];
    if (!text || !CFStringGetCString(text.Get(), buffer, sizeof buffer, kCFStringEncodingUTF8)) {
        return "";
    }
    return buffer;
}

class Folder {
public:
    explicit Folder(const FSRef& ref) {
        if (FSOpenIterator(&ref, kFSIterateFlat, &mIterator) != noErr) {
            mIterator = nullptr;
        }
    }
    ~Folder() {
        if (mIterator != nullptr) {
            FSCloseIterator(mIterator);
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // False at the end, and when reading fails.
    bool next(FSRef& ref, Entry& entry) {
        UInt32 count = 0;
        FSCatalogInfo info{};
        HFSUniStr255 name{};
        if (mIterator == nullptr ||
            FSGetCatalogInfoBulk(mIterator, 1, &count, nullptr,
                                 kFSCatInfoNodeFlags | kFSCatInfoFinderInfo, &info, &ref, nullptr,
                                 &name) != noErr ||
            count != 1) {
            return false;
        }
        entry = {pathOf(ref), textOf(name), (info.nodeFlags & kFSNodeIsDirectoryMask) != 0};
        return true;
    }

private:
    FSIterator mIterator = nullptr;
};

// Folders wait as paths, which take far less room than references. A folder whose path is too long
// is not queued: everything in it has a longer one.
using Level = std::vector<std::string>;

void visitFolder(const FSRef& folder, const Visitor& visit, Level& next) {
    Folder listing(folder);
    FSRef ref;
    Entry entry;
    while (listing.next(ref, entry)) {
        if (!entry.path.empty() && visit(entry)) {
            next.push_back(entry.path);
        }
    }
}

bool resolve(const std::string& path, FSRef& ref) {
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr) == noErr;
}

void walk(const std::string& root, const Visitor& visit) {
    Level current = {root};
    Level next;
    for (; !current.empty(); current.swap(next), next.clear()) {
        for (const std::string& path : current) {
            if (FSRef folder; resolve(path, folder)) {
                visitFolder(folder, visit, next);
            }
        }
    }
}

std::string matchText(const std::string& pattern) {
    if (pattern == "*.*") {
        return "";
    }
    const std::size_t star = pattern.find('*');
    return star == std::string::npos ? pattern : pattern.substr(star + 1);
}

} // namespace

void DirectoryLister(const std::string& root, std::set<std::string>& out) {
    walk(root, [&](const Entry& entry) {
        if (entry.isDirectory) {
            out.insert(entry.path);
        }
        return entry.isDirectory;
    });
}

void FileLister(const std::string& root, const std::string& pattern, std::set<std::string>& out,
                bool matchDirectories) {
    const std::string wanted = matchText(pattern);
    walk(root, [&](const Entry& entry) {
        const bool matches = entry.name.rfind(wanted) != std::string::npos;
        if (matches && (matchDirectories || !entry.isDirectory)) {
            out.insert(entry.path);
        }
        return entry.isDirectory && !(matches && matchDirectories);
    });
}

} // namespace velnor
