// The properties that a host may ask an instrument about, by name.
#ifndef VELNOR_HOST_INSTRUMENT_PROPERTYNAMES_H
#define VELNOR_HOST_INSTRUMENT_PROPERTYNAMES_H

#include "platform/AudioUnitTypes.h"

#include <span>

namespace velnor::host {

struct PropertyName {
    AudioUnitPropertyID id;
    const char* name;
};

// Ascending by id.
std::span<const PropertyName> knownProperties();

} // namespace velnor::host

#endif
