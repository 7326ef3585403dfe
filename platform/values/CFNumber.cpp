#include "platform/CFNumber.h"

#include "platform/values/CFNumberObject.h"

#include <bit>
#include <cmath>
#include <limits>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>

using velnor::BooleanObject;
using velnor::Cast;
using velnor::NumberObject;
using velnor::NumberValue;

namespace velnor {
namespace {

// A value in the wanted type, and whether it is the same number.
template <class To>
struct Converted {
    To value;
    bool exact;
};

// The whole numbers of the type lie in [-limit, limit) as doubles, without rounding.
template <class To>
double IntegerLimit() {
    return std::ldexp(1.0, std::numeric_limits<To>::digits);
}

template <class To>
Converted<To> IntegerFromReal(double real) {
    if (std::isnan(real)) {
        return {0, false};
    }
    if (real >= IntegerLimit<To>()) {
        return {std::numeric_limits<To>::max(), false};
    }
    if (real < -IntegerLimit<To>()) {
        return {std::numeric_limits<To>::min(), false};
    }
    const double nearest = std::nearbyint(real);
    if (nearest >= IntegerLimit<To>()) {
        return {std::numeric_limits<To>::max(), false};
    }
    return {static_cast<To>(nearest), nearest == real};
}

template <class To, class From>
Converted<To> IntegerFromInteger(From integer) {
    if (std::in_range<To>(integer)) {
        return {static_cast<To>(integer), true};
    }
    return {std::cmp_less(integer, 0) ? std::numeric_limits<To>::min()
                                      : std::numeric_limits<To>::max(),
            false};
}

template <class To>
Converted<To> RealFromReal(double real) {
    constexpr double kMost = std::numeric_limits<To>::max();
    if (std::isfinite(real) && std::abs(real) > kMost) {
        return {static_cast<To>(std::copysign(kMost, real)), false};
    }
    const auto value = static_cast<To>(real);
    return {value, std::isnan(real) || static_cast<double>(value) == real};
}

// Exact when the bits from the highest to the lowest one set fit the mantissa: asked of the
// integer, since a comparison of reals may run at another precision.
template <class To, class From>
Converted<To> RealFromInteger(From integer) {
    auto magnitude = static_cast<UInt64>(integer);
    if (std::cmp_less(integer, 0)) {
        magnitude = 0 - magnitude;
    }
    const int used = 64 - std::countl_zero(magnitude) - std::countr_zero(magnitude);
    return {static_cast<To>(integer), used <= std::numeric_limits<To>::digits};
}

template <class To, class From>
Converted<To> ConvertOne(From from) {
    if constexpr (std::is_integral_v<To>) {
        if constexpr (std::is_integral_v<From>) {
            return IntegerFromInteger<To>(from);
        } else {
            return IntegerFromReal<To>(from);
        }
    } else if constexpr (std::is_integral_v<From>) {
        return RealFromInteger<To>(from);
    } else {
        return RealFromReal<To>(from);
    }
}

template <class To>
bool Store(const NumberValue& from, void* to) {
    const auto result = std::visit([](auto value) { return ConvertOne<To>(value); }, from);
    *static_cast<To*>(to) = result.value;
    return result.exact;
}

std::optional<NumberValue> Load(CFNumberType type, const void* value) {
    switch (type) {
    case kCFNumberSInt32Type:
        return SInt64{*static_cast<const SInt32*>(value)};
    case kCFNumberSInt64Type:
        return *static_cast<const SInt64*>(value);
    case kCFNumberFloat32Type:
        return double{*static_cast<const Float32*>(value)};
    case kCFNumberFloat64Type:
        return *static_cast<const Float64*>(value);
    default:
        return std::nullopt;
    }
}

// The two booleans' memory: making them takes none, so it cannot fail before main.
alignas(BooleanObject) unsigned char gTrueMemory[sizeof(BooleanObject)];
alignas(BooleanObject) unsigned char gFalseMemory[sizeof(BooleanObject)];

CFBooleanRef ImmortalBoolean(unsigned char* memory, bool value) noexcept {
    auto* boolean = new (memory) BooleanObject(value);
    boolean->MakeImmortal();
    return RefOf<CFBooleanRef>(boolean);
}

} // namespace

bool NumberObject::Equals(const CFObject& object) const {
    const auto& other = static_cast<const NumberObject&>(object);
    if (IsFloat() && other.IsFloat() && std::isnan(std::get<double>(mValue))) {
        return std::isnan(std::get<double>(other.mValue));
    }
    return mValue == other.mValue;
}

} // namespace velnor

CFTypeID CFNumberGetTypeID(void) {
    return NumberObject::StaticTypeID();
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    const auto loaded = value == nullptr ? std::nullopt : velnor::Load(type, value);
    return loaded ? velnor::RefOf<CFNumberRef>(new NumberObject(type, *loaded)) : nullptr;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return Cast<NumberObject>(number).Type();
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return Cast<NumberObject>(number).IsFloat();
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const NumberValue& from = Cast<NumberObject>(number).Value();
    switch (type) {
    case kCFNumberSInt32Type:
        return velnor::Store<SInt32>(from, value);
    case kCFNumberSInt64Type:
        return velnor::Store<SInt64>(from, value);
    case kCFNumberFloat32Type:
        return velnor::Store<Float32>(from, value);
    case kCFNumberFloat64Type:
        return velnor::Store<Float64>(from, value);
    default:
        return false;
    }
}

CFTypeID CFBooleanGetTypeID(void) {
    return BooleanObject::StaticTypeID();
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return Cast<BooleanObject>(boolean).Value();
}

const CFBooleanRef kCFBooleanTrue = velnor::ImmortalBoolean(velnor::gTrueMemory, true);
const CFBooleanRef kCFBooleanFalse = velnor::ImmortalBoolean(velnor::gFalseMemory, false);
