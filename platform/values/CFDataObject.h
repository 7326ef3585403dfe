// The object behind CFDataRef.
#ifndef VELNOR_PLATFORM_VALUES_CFDATAOBJECT_H
#define VELNOR_PLATFORM_VALUES_CFDATAOBJECT_H

#include "platform/CFData.h"
#include "platform/values/CFObject.h"

#include <vector>

namespace velnor {

class DataObject final : public CFObjectOf<DataObject> {
public:
    DataObject(std::vector<UInt8> bytes, bool isMutable)
        : mBytes(std::move(bytes)), mMutable(isMutable) {}

    const std::vector<UInt8>& Bytes() const { return mBytes; }
    bool IsMutable() const { return mMutable; }
    // Does nothing to an immutable object.
    void Append(const UInt8* bytes, std::size_t length);
    bool Equals(const CFObject& other) const override {
        return mBytes == static_cast<const DataObject&>(other).mBytes;
    }

private:
    std::vector<UInt8> mBytes;
    bool mMutable;
};

} // namespace velnor

#endif
