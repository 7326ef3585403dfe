// Where the installation registry lives. Internal to the support library.
#ifndef VELNOR_SUPPORT_REGISTRYDOMAIN_H
#define VELNOR_SUPPORT_REGISTRYDOMAIN_H

#include <string>

namespace velnor {

inline constexpr const char* kRegistryKey = "Plugins";
inline constexpr const char* kRegistryPathKey = "path";
inline constexpr const char* kRegistryVersionKey = "version";

inline std::string registryDomain(const std::string& vendor, const std::string& product) {
    return "com." + vendor + "." + product;
}

} // namespace velnor

#endif
