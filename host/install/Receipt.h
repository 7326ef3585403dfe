// What install wrote down of a bundle that it put in place or found there: the file
// velnor/Receipts/Components/NAME or velnor/Receipts/Engines/NAME in the user's data folder, NAME
// being the bundle's. Lines of text, each a word, a blank and the rest:
//
//     receipt 1          the format
//     path PATH          where the bundle lies, as the preference of an engine names it
//     domain DOMAIN      a component's preferences domain, and the base_dir
//     base_dir PATH      that was written there
//     d PATH, f PATH, l PATH
//                        a folder, file or link that was copied, below the bundle; a folder before
//                        what it holds
//
// A receipt can be damaged or hostile: what it says is checked, and believed only of entries of its
// own bundle's folder.
#ifndef VELNOR_HOST_INSTALL_RECEIPT_H
#define VELNOR_HOST_INSTALL_RECEIPT_H

#include "host/install/BundleEntries.h"
#include "host/job/PartialFile.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velnor::host {

struct Receipt {
    std::string path;
    std::string domain;               // empty for an engine
    std::string baseDir;              // the same
    std::vector<BundleEntry> entries; // none of a bundle that was not copied
};

// A folder is that of components or of engines.

// Complete but for its name, so that nothing can fail late. Throws JobError.
std::unique_ptr<PartialFile> makeReceipt(const std::string& folder, const std::string& bundleName,
                                         const Receipt& receipt);
// Nothing when there is none. Throws JobError when it cannot be read or is no receipt.
std::optional<Receipt> readReceipt(const std::string& folder, const std::string& bundleName);
void removeReceipt(const std::string& folder, const std::string& bundleName);
// The names of the folder's bundles that have one.
std::vector<std::string> receiptedBundles(const std::string& folder);

} // namespace velnor::host

#endif
