// A bundle on its way to where instruments find it.
#ifndef VELNOR_HOST_INSTALL_BUNDLEINSTALL_H
#define VELNOR_HOST_INSTALL_BUNDLEINSTALL_H

#include "host/install/Receipt.h"

namespace velnor::host {

class BundleInstall {
public:
    // Looks at all that the bundle holds; folder is where it belongs. One that lies there, or in
    // the same folder for all users, stays where it is. Throws JobError as entriesOfBundle, and
    // when one that install copied there earlier now holds what install did not copy.
    BundleInstall(const std::string& bundle, const std::string& folder);

    // Where it will lie.
    const std::string& path() const { return mReceipt.path; }
    // Prints a notice when it takes the place of what install had not copied.
    void warnOfReplaced() const;
    // Has the receipt ready; domain and baseDir are a component's. Throws JobError, as the next.
    void prepare(const std::string& domain = "", const std::string& baseDir = "");
    // Copies it and leaves the receipt.
    void commit();

private:
    void examineReplaced();

    std::string mBundle;
    std::string mFolder;
    std::string mName;
    bool mStays;
    bool mReplacesOthers = false;
    std::vector<BundleEntry> mBefore; // what was copied of the one that it replaces
    Receipt mReceipt;
    std::unique_ptr<PartialFile> mFile;
    std::unique_ptr<PartialFile> mFileOfBoth; // while it is replaced
};

} // namespace velnor::host

#endif
