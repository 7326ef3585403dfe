// Where installed components are found.
#ifndef VELNOR_PLATFORM_COMPONENTS_COMPONENTFOLDERS_H
#define VELNOR_PLATFORM_COMPONENTS_COMPONENTFOLDERS_H

#include <string>
#include <vector>

namespace velnor {

// The paths of the *.component directories in the folders that Components.h names, in its order,
// within a folder by name. Reads the environment and the folders anew.
std::vector<std::string> FindComponentBundles();

} // namespace velnor

#endif
