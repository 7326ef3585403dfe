// The objects behind CFNumberRef and CFBooleanRef.
#ifndef VELNOR_PLATFORM_VALUES_CFNUMBEROBJECT_H
#define VELNOR_PLATFORM_VALUES_CFNUMBEROBJECT_H

#include "platform/CFNumber.h"
#include "platform/values/CFObject.h"

#include <variant>

namespace velnor {

// The unsigned form holds only what a signed one cannot: integers of property lists above 2^63-1.
// They exist so that a list that holds one is written back as it was read.
using NumberValue = std::variant<SInt64, double, UInt64>;

class NumberObject final : public CFObjectOf<NumberObject> {
public:
    NumberObject(CFNumberType type, NumberValue value) : mType(type), mValue(value) {}

    CFNumberType Type() const { return mType; }
    const NumberValue& Value() const { return mValue; }
    bool IsFloat() const { return std::holds_alternative<double>(mValue); }
    bool Equals(const CFObject& other) const override;

private:
    CFNumberType mType;
    NumberValue mValue;
};

class BooleanObject final : public CFObjectOf<BooleanObject> {
public:
    explicit BooleanObject(bool value) : mValue(value) {}
    bool Value() const { return mValue; }

private:
    bool mValue;
};

} // namespace velnor

#endif
