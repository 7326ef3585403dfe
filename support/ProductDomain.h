// The preferences domain of a product, and the keys of the installation registry in it.
#ifndef VELNOR_SUPPORT_PRODUCTDOMAIN_H
#define VELNOR_SUPPORT_PRODUCTDOMAIN_H

#include <string>

namespace velnor {

inline constexpr const char* kRegistryKey = "Plugins";
inline constexpr const char* kRegistryPathKey = "path";
inline constexpr const char* kRegistryVersionKey = "version";

inline std::string productDomain(const std::string& vendor, const std::string& product) {
    return "com." + vendor + "." + product;
}

} // namespace velnor

#endif
