// What a user does with a component that is there but not set up for him, as after an installation
// for all users.
#ifndef VELNOR_HOST_INSTALL_NEXTSTEP_H
#define VELNOR_HOST_INSTALL_NEXTSTEP_H

#include <string>

namespace velnor::host {

// Whether preferences, the user's or those of all users, name an engine, and data for the product
// of this bundle; true for what is no product of ours.
bool isSetUp(const std::string& component);

// The command that writes these preferences. The engine is the first that is installed for all
// users or this one, else, like the folder with the sounds, a word to replace.
std::string setUpCommand(const std::string& component);

} // namespace velnor::host

#endif
