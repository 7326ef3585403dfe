// What a bundle's Info.plist says of one component.
#ifndef VELNOR_PLATFORM_COMPONENTS_COMPONENTREGISTRATION_H
#define VELNOR_PLATFORM_COMPONENTS_COMPONENTREGISTRATION_H

#include "platform/CFDictionary.h"
#include "platform/Components.h"

#include <string>
#include <vector>

namespace velnor {

struct ComponentRegistration {
    OSType type = 0;
    OSType subType = 0;
    OSType manufacturer = 0;
    std::string entry; // the exported function's name
    std::string name;
    SInt32 version = 0;

    bool operator==(const ComponentRegistration&) const = default;
    bool SameCodes(const ComponentRegistration& other) const {
        return type == other.type && subType == other.subType && manufacturer == other.manufacturer;
    }
};

// The usable entries of "VelnorComponents", in its order. An entry without its three codes or its
// function's name, or with one of the wrong type, is left out; a name or version that is missing or
// of the wrong type is taken from the entry function's name or as 0.
std::vector<ComponentRegistration> ReadRegistrations(CFDictionaryRef info);

} // namespace velnor

#endif
