// Where an installed product lies: component, engine, preferences, folders.
#ifndef VELNOR_HOST_INSTALL_INSTALLATION_H
#define VELNOR_HOST_INSTALL_INSTALLATION_H

#include <string>
#include <vector>

namespace velnor::host {

// $XDG_DATA_HOME, or ~/.local/share. Throws JobError without a home.
std::string dataHome();
std::string componentsFolder();
std::string enginesFolder();
std::string receiptsFolder();
// Where bundles for all users lie: DIR/velnor/NAME for each of $XDG_DATA_DIRS; the name is
// "Components" or "Engines".
std::vector<std::string> sharedFolders(const char* name);

// With those above it. Throws JobError.
void makeFolder(const std::string& path);

// The user's own value; empty when there is none or it is no text.
std::string readPreference(const std::string& domain, const char* key);
// What an instrument reads: the user's value or that of all users; empty when it finds none.
std::string searchPreference(const std::string& domain, const char* key);
// Empty removes the key. Throws JobError when the file cannot be written.
void writePreference(const std::string& domain, const char* key, const std::string& value);
// The file that holds the user's values of a domain.
std::string preferencePath(const std::string& domain);

// Copies a bundle into the folder, which is made, in place of one of the same name. Throws
// JobError.
void copyBundle(const std::string& bundle, const std::string& folder);

} // namespace velnor::host

#endif
