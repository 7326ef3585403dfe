#include "host/install/BundleEntries.h"

#include "host/job/JobError.h"

#include <deque>
#include <filesystem>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40; // of one way, as the system has it

enum class End { kInside, kOutside, kNowhere };

// One way through a bundle, from the folder of a link on. It ends where it would leave the bundle,
// or where nothing is.
class Way {
public:
    Way(const fs::path& bundle, const fs::path& link)
        : mBundle(bundle), mPlace(link.parent_path()) {
        mEnd = follow(link);
        while (mEnd == End::kInside && !mAhead.empty()) {
            const fs::path name = mAhead.front();
            mAhead.pop_front();
            mEnd = step(name);
        }
    }
    End end() const { return mEnd; }

private:
    End follow(const fs::path& link) {
        const fs::path target = fs::read_symlink(mBundle / link);
        mAhead.insert(mAhead.begin(), target.begin(), target.end());
        if (target.is_absolute()) {
            return End::kOutside;
        }
        return ++mLinks <= kMostLinks ? End::kInside : End::kNowhere;
    }

    End step(const fs::path& name) {
        if (name.empty() || name == ".") {
            return End::kInside;
        }
        if (name == "..") {
            const bool canRise = !mPlace.empty();
            mPlace = mPlace.parent_path();
            return canRise ? End::kInside : End::kOutside;
        }
        const fs::path next = mPlace / name;
        const fs::file_status status = fs::symlink_status(mBundle / next);
        if (fs::is_symlink(status)) {
            return follow(next);
        }
        mPlace = next;
        const bool leadsOn = mAhead.empty() ? fs::exists(status) : fs::is_directory(status);
        return leadsOn ? End::kInside : End::kNowhere;
    }

    const fs::path& mBundle;
    fs::path mPlace; // a folder below the bundle, or what the way ends at; empty: the bundle itself
    std::deque<fs::path> mAhead;
    int mLinks = 0;
    End mEnd = End::kInside;
};

std::string problemOfLink(const fs::path& bundle, const fs::path& link) {
    const std::string target = fs::read_symlink(bundle / link);
    switch (Way(bundle, link).end()) {
    case End::kInside:
        return "";
    case End::kOutside:
        return "a link out of the bundle, to " + target;
    case End::kNowhere:
        return "a link to nowhere, to " + target;
    }
    return "";
}

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
        return problemOfLink(bundle, path);
    default:
        return "no file, folder or link";
    }
}

EntryKind kindOf(fs::file_type type) {
    return type == fs::file_type::directory ? EntryKind::kFolder
           : type == fs::file_type::symlink ? EntryKind::kLink
                                            : EntryKind::kFile;
}

[[noreturn]] void fail(const fs::filesystem_error& error) {
    throw JobError(error.path1().string() + ": " + error.code().message());
}

} // namespace

std::vector<BundleEntry> entriesBelow(const std::string& folder) {
    std::vector<BundleEntry> entries;
    try {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            entries.push_back(
                {kindOf(entry.symlink_status().type()), entry.path().lexically_relative(folder)});
        }
    } catch (const fs::filesystem_error& error) {
        fail(error);
    }
    return entries;
}

std::vector<BundleEntry> entriesOfBundle(const std::string& bundle) {
    std::vector<BundleEntry> entries = entriesBelow(bundle);
    std::string problems;
    try {
        for (const BundleEntry& entry : entries) {
            const fs::file_type type = fs::symlink_status(fs::path(bundle) / entry.path).type();
            const std::string problem = problemOf(bundle, entry.path, type);
            if (!problem.empty()) {
                problems += (problems.empty() ? "" : "; ") + entry.path + ": " + problem;
            }
        }
    } catch (const fs::filesystem_error& error) {
        fail(error);
    }
    if (!problems.empty()) {
        throw JobError(bundle + ": it is not installed: " + problems);
    }
    return entries;
}

} // namespace velnor::host
