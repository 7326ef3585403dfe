// The product record as it stands in a plug-in's file: 256 bytes between two magic words.
//
//     0 u32 0x12345678 | 64 char[64] vendor | 128 char[64] product | 252 u32 0x87654321
//
// Little-endian; texts are ASCII and zero-terminated.
#ifndef VELNOR_HOST_INSTALL_PRODUCTFILE_H
#define VELNOR_HOST_INSTALL_PRODUCTFILE_H

#include "support/ProductDomain.h"

#include <string>

namespace velnor::host {

struct ProductNames {
    std::string vendor;
    std::string product;

    // The preferences domain of the product.
    std::string domain() const { return productDomain(vendor, product); }
};

// Reads the executable of this width out of a component bundle. Throws JobError when there is none,
// or it holds no record.
ProductNames productOfBundle(const std::string& bundlePath);

} // namespace velnor::host

#endif
