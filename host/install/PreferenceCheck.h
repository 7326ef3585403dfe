// Whether a preference file can be used.
#ifndef VELNOR_HOST_INSTALL_PREFERENCECHECK_H
#define VELNOR_HOST_INSTALL_PREFERENCECHECK_H

#include <string>

namespace velnor::host {

enum class PreferenceTrouble {
    none,      // the file is sound or not there
    damaged,   // nobody can read it: a write sets it aside
    foreign,   // too large, or a property list that only other programs read: no write touches it
    unreadable // a folder, no permission and the like: the same
};

// A file with any trouble reads as if nothing were set.
struct PreferenceCheck {
    PreferenceTrouble trouble = PreferenceTrouble::none;
    std::string problem{}; // "PATH: what is wrong"
};

PreferenceCheck checkPreferenceFile(const std::string& path);

} // namespace velnor::host

#endif
