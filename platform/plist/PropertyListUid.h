// References between the objects of an archive, a kind of value that binary property lists of other
// programs hold. No call makes one; they exist so that such a list is written back as it was read.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTUID_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTUID_H

#include "platform/values/CFObject.h"

namespace velnor {

class UidObject final : public CFObjectOf<UidObject> {
public:
    explicit UidObject(UInt64 value) : mValue(value) {}
    UInt64 Value() const { return mValue; }
    bool Equals(const CFObject& other) const override {
        return mValue == static_cast<const UidObject&>(other).mValue;
    }

private:
    UInt64 mValue;
};

} // namespace velnor

#endif
