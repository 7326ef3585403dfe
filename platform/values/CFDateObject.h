// The object behind CFDateRef.
#ifndef VELNOR_PLATFORM_VALUES_CFDATEOBJECT_H
#define VELNOR_PLATFORM_VALUES_CFDATEOBJECT_H

#include "platform/CFDate.h"
#include "platform/values/CFObject.h"

#include <cmath>

namespace velnor {

class DateObject final : public CFObjectOf<DateObject> {
public:
    explicit DateObject(CFAbsoluteTime at) : mAt(at) {}
    CFAbsoluteTime At() const { return mAt; }
    bool Equals(const CFObject& other) const override {
        const CFAbsoluteTime at = static_cast<const DateObject&>(other).mAt;
        return mAt == at || (std::isnan(mAt) && std::isnan(at));
    }

private:
    CFAbsoluteTime mAt;
};

} // namespace velnor

#endif
