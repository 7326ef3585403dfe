// The settable vendor properties, each a field of Globals.
#ifndef VELNOR_ENGINES_SOUNDFONT_PROPERTIES_H
#define VELNOR_ENGINES_SOUNDFONT_PROPERTIES_H

#include "engines/soundfont/EngineState.h"
#include "platform/Facts.h"

#include <cstddef>
#include <cstdint>

namespace velnor::soundfont {

// One bit for each settable property, by its place in the table of SoundFontProperties.h.
using PropertySet = uint32_t;

inline constexpr size_t kSettableProperties = 13;

// The place of a set or get id, kSettableProperties when it is neither.
size_t findProperty(uint32_t id);

// Puts the four bytes into the globals. False, and nothing changed, when they are out of range.
// Thread any, exclusive, may block.
bool writeProperty(Globals& globals, size_t place, const void* bytes);

// The property's four bytes out of the globals. Thread any, concurrent, may block.
void readProperty(const Globals& globals, size_t place, void* bytes);

// Copies the chosen properties from one to the other. Thread any, exclusive, nonblocking.
void copyProperties(const Globals& from, PropertySet chosen, Globals& to) VELNOR_NONBLOCKING;

} // namespace velnor::soundfont

#endif
