// Whether an engine's setup file belongs to a product.
#ifndef VELNOR_HOST_INSTALL_SETUPFILECHECK_H
#define VELNOR_HOST_INSTALL_SETUPFILECHECK_H

#include "host/install/ProductFile.h"

namespace velnor::host {

// Empty when the file loads and names no other vendor and product; else what is wrong.
std::string checkSetupFile(const std::string& path, const ProductNames& names);

} // namespace velnor::host

#endif
