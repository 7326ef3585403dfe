// The object behind CFArrayRef.
#ifndef VELNOR_PLATFORM_VALUES_CFARRAYOBJECT_H
#define VELNOR_PLATFORM_VALUES_CFARRAYOBJECT_H

#include "platform/CFArray.h"
#include "platform/CFRef.h"
#include "platform/values/CFObject.h"

#include <vector>

namespace velnor {

class ArrayObject final : public CFObjectOf<ArrayObject> {
public:
    using Items = std::vector<CFRef<CFTypeRef>>;

    ArrayObject(Items items, bool isMutable) : mItems(std::move(items)), mMutable(isMutable) {}

    const Items& All() const { return mItems; }
    bool IsMutable() const { return mMutable; }
    // Does nothing to an immutable object. value may not be null.
    void Append(CFTypeRef value);
    bool Equals(const CFObject& other) const override;
    void ForEachChild(const std::function<void(CFObject&)>& visit) const override;

private:
    Items mItems;
    bool mMutable;
};

} // namespace velnor

#endif
