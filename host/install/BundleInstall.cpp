#include "host/install/BundleInstall.h"

#include "host/install/Installation.h"
#include "host/job/JobError.h"
#include "host/job/Terminal.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace velnor::host {

namespace {

namespace fs = std::filesystem;

bool liesIn(const fs::path& bundle, const std::string& folder) {
    std::error_code error;
    return fs::equivalent(bundle.parent_path(), folder, error);
}

bool liesInSharedFolder(const std::string& bundle, const std::string& folder) {
    const std::vector<std::string> shared = sharedFolders(fs::path(folder).filename().c_str());
    return std::any_of(shared.begin(), shared.end(),
                       [&](const std::string& place) { return liesIn(bundle, place); });
}

// What was copied earlier of a bundle that now stays.
std::vector<BundleEntry> entriesOnRecord(const std::string& folder, const std::string& bundleName) {
    try {
        const std::optional<Receipt> receipt = readReceipt(folder, bundleName);
        return receipt ? receipt->entries : std::vector<BundleEntry>();
    } catch (const JobError&) {
        return {};
    }
}

} // namespace

BundleInstall::BundleInstall(const std::string& bundle, const std::string& folder)
    : mBundle(bundle), mFolder(folder), mName(fs::path(bundle).filename()) {
    const bool isOurs = liesIn(bundle, folder);
    mStays = isOurs || liesInSharedFolder(bundle, folder);
    mReceipt.path = mStays && !isOurs ? bundle : folder + "/" + mName;
    mReceipt.entries = mStays ? entriesOnRecord(folder, mName) : entriesOfBundle(bundle);
    if (!mStays) {
        examineReplaced();
    }
}

void BundleInstall::examineReplaced() {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(mReceipt.path, error);
    if (!fs::exists(status)) {
        return;
    }
    mBefore = entriesOnRecord(mFolder, mName);
    mReplacesOthers = mBefore.empty() || !fs::is_directory(status);
    if (mReplacesOthers) {
        return;
    }
    const std::set<BundleEntry> known(mBefore.begin(), mBefore.end());
    std::vector<BundleEntry> others = entriesBelow(mReceipt.path);
    std::erase_if(others, [&](const BundleEntry& entry) { return known.contains(entry); });
    if (!others.empty()) {
        const std::string more = " and " + std::to_string(others.size() - 1) + " more";
        throw JobError(mReceipt.path + "/" + others.front().path + (others.size() > 1 ? more : "") +
                       ": install did not put it there, and an update would delete it; move it "
                       "away and install again");
    }
}

void BundleInstall::warnOfReplaced() const {
    if (mReplacesOthers) {
        printNotice(mReceipt.path + " is replaced; install had not copied it");
    }
}

void BundleInstall::prepare(const std::string& domain, const std::string& baseDir) {
    mReceipt.domain = domain;
    mReceipt.baseDir = baseDir;
    mFile = makeReceipt(mFolder, mName, mReceipt);
    if (!mBefore.empty()) {
        Receipt both = mReceipt;
        both.entries.insert(both.entries.begin(), mBefore.begin(), mBefore.end());
        mFileOfBoth = makeReceipt(mFolder, mName, both);
    }
}

void BundleInstall::commit() {
    if (mFileOfBoth) {
        mFileOfBoth->commit(); // whatever is there when the copy is cut short is on record
    }
    if (!mStays) {
        copyBundle(mBundle, mFolder);
    }
    mFile->commit();
}

} // namespace velnor::host
