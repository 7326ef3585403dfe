// A bundle's version.
#ifndef VELNOR_SUPPORT_BUNDLEVERSION_H
#define VELNOR_SUPPORT_BUNDLEVERSION_H

#include <string>

// The version text of the bundle in the folder (UTF-8), at most 1,023 bytes; "Can't get version."
// when there is none. Thread any, concurrent, may block.
std::string MacGetBundleVersion(const std::string& path);

#endif
