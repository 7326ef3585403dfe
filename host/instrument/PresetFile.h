// Preset files: an instrument's saved state as a property list.
#ifndef VELNOR_HOST_INSTRUMENT_PRESETFILE_H
#define VELNOR_HOST_INSTRUMENT_PRESETFILE_H

#include "platform/AudioUnit.h"
#include "platform/CFRef.h"

#include <string>

namespace velnor::host {

// Throws JobError: the file cannot be read, or is no property list.
CFRef<CFPropertyListRef> readPreset(const std::string& path);
// XML; "-" is standard output. Throws JobError.
void writePreset(const std::string& path, CFPropertyListRef state);

// The instrument's present state. Throws JobError with the status in words, as the next.
CFRef<CFPropertyListRef> stateOf(AudioUnit unit);
// name stands in the message: where the state came from.
void restoreState(AudioUnit unit, CFPropertyListRef state, const std::string& name);

} // namespace velnor::host

#endif
