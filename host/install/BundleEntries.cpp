#include "host/install/BundleEntries.h"

#include "host/job/JobError.h"

#include <deque>
#include <filesystem>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40; // of one way, as the system has it

// One way through a bundle, from the folder of a link on. It ends where it would leave the bundle.
class Way {
public:
    Way(const fs::path& bundle, const fs::path& link)
        : mBundle(bundle), mPlace(link.parent_path()) {
        mInside = follow(link);
        while (mInside && !mAhead.empty()) {
            const fs::path name = mAhead.front();
            mAhead.pop_front();
            mInside = step(name);
        }
    }
    bool staysInside() const { return mInside; }

private:
    bool follow(const fs::path& link) {
        const fs::path target = fs::read_symlink(mBundle / link);
        mAhead.insert(mAhead.begin(), target.begin(), target.end());
        return target.is_relative() && ++mLinks <= kMostLinks;
    }

    bool step(const fs::path& name) {
        if (name.empty() || name == ".") {
            return true;
        }
        if (name == "..") {
            const bool canRise = !mPlace.empty();
            mPlace = mPlace.parent_path();
            return canRise;
        }
        const fs::path next = mPlace / name;
        if (fs::is_symlink(fs::symlink_status(mBundle / next))) {
            return follow(next);
        }
        mPlace = next;
        return true;
    }

    const fs::path& mBundle;
    fs::path mPlace; // a folder below the bundle; empty: the bundle itself
    std::deque<fs::path> mAhead;
    int mLinks = 0;
    bool mInside = false;
};

// What is wrong with an entry, or nothing.
std::string problemOf(const fs::path& bundle, const fs::path& path, fs::file_type type) {
    if (path.string().find('\n') != std::string::npos) {
        return "the name holds a line feed";
    }
    switch (type) {
    case fs::file_type::directory:
    case fs::file_type::regular:
        return "";
    case fs::file_type::symlink:
        return Way(bundle, path).staysInside()
                   ? ""
                   : "a link out of the bundle, to " + fs::read_symlink(bundle / path).string();
    default:
        return "no file, folder or link";
    }
}

EntryKind kindOf(fs::file_type type) {
    return type == fs::file_type::directory ? EntryKind::kFolder
           : type == fs::file_type::symlink ? EntryKind::kLink
                                            : EntryKind::kFile;
}

} // namespace

std::vector<BundleEntry> entriesOfBundle(const std::string& bundle) {
    std::vector<BundleEntry> entries;
    std::string problems;
    try {
        for (const auto& entry : fs::recursive_directory_iterator(bundle)) {
            const fs::path path = entry.path().lexically_relative(bundle);
            const fs::file_type type = entry.symlink_status().type();
            const std::string problem = problemOf(bundle, path, type);
            if (!problem.empty()) {
                problems += (problems.empty() ? "" : "; ") + path.string() + ": " + problem;
            }
            entries.push_back({kindOf(type), path});
        }
    } catch (const fs::filesystem_error& error) {
        throw JobError(error.path1().string() + ": " + error.code().message());
    }
    if (!problems.empty()) {
        throw JobError(bundle + ": it is not installed: " + problems);
    }
    return entries;
}

} // namespace velnor::host
