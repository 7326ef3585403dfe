// A bundle on its way to where instruments find it.
#ifndef VELNOR_HOST_INSTALL_BUNDLEINSTALL_H
#define VELNOR_HOST_INSTALL_BUNDLEINSTALL_H

#include "host/install/Receipt.h"

namespace velnor::host {

class BundleInstall {
public:
    // Looks at all that the bundle holds; folder is where it belongs. One that lies there, or in
    // the same folder for all users, stays where it is. Throws JobError as entriesOfBundle.
    BundleInstall(const std::string& bundle, const std::string& folder);

    // Where it will lie.
    const std::string& path() const { return mReceipt.path; }
    // Has the receipt ready; domain and baseDir are a component's. Throws JobError, as the next.
    void prepare(const std::string& domain = "", const std::string& baseDir = "");
    // Copies it and leaves the receipt.
    void commit();

private:
    std::string mBundle;
    std::string mFolder;
    std::string mName;
    bool mStays;
    Receipt mReceipt;
    std::unique_ptr<PartialFile> mFile;
};

} // namespace velnor::host

#endif
