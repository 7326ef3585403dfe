#include "host/install/BundleInstall.h"

#include "host/install/Installation.h"
#include "host/job/JobError.h"

#include <algorithm>
#include <filesystem>

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
}

void BundleInstall::prepare(const std::string& domain, const std::string& baseDir) {
    mReceipt.domain = domain;
    mReceipt.baseDir = baseDir;
    mFile = makeReceipt(mFolder, mName, mReceipt);
}

void BundleInstall::commit() {
    if (!mStays) {
        copyBundle(mBundle, mFolder);
    }
    mFile->commit();
}

} // namespace velnor::host
