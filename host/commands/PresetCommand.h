// velnor-host preset: show, save and compare preset files.
#ifndef VELNOR_HOST_COMMANDS_PRESETCOMMAND_H
#define VELNOR_HOST_COMMANDS_PRESETCOMMAND_H

#include <string>

namespace velnor::host {

// What a preset file holds, a key a line; data as its length and first bytes. Throws JobError.
void showPreset(const std::string& path);
// The state of an instrument as it opens, or as another preset leaves it.
void savePreset(const std::string& path, const std::string& component, const std::string& from);
// Prints the lines that only one of the two has, behind "-" and "+"; true when they are equal.
bool diffPresets(const std::string& a, const std::string& b);

} // namespace velnor::host

#endif
