// Instruments that are installed, and the one that a person means.
#ifndef VELNOR_HOST_INSTRUMENT_COMPONENTFINDER_H
#define VELNOR_HOST_INSTRUMENT_COMPONENTFINDER_H

#include "platform/Components.h"

#include <string>
#include <vector>

namespace velnor::host {

// Every component of every type that the search path holds, in its order.
std::vector<Component> installedComponents();

// The instrument that a word names: a bundle's path (anything with a "/" or ending in
// ".component"), a subtype code, or a registered name without regard to case; empty: the first
// instrument that is installed. Throws JobError that names what is there.
Component findInstrument(const std::string& word);

ComponentDescription descriptionOf(Component component);
std::string nameOf(Component component);
std::string bundlePathOf(Component component);
// Four characters; those that do not print stand as "?".
std::string codeText(OSType code);

} // namespace velnor::host

#endif
