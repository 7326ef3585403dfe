// The object behind CFStringRef.
#ifndef VELNOR_PLATFORM_VALUES_CFSTRINGOBJECT_H
#define VELNOR_PLATFORM_VALUES_CFSTRINGOBJECT_H

#include "platform/values/CFObject.h"

#include <string>
#include <string_view>

namespace velnor {

class StringObject final : public CFObjectOf<StringObject> {
public:
    // utf8 is well-formed and has that many UTF-16 units.
    StringObject(std::string utf8, std::size_t units) : mText(std::move(utf8)), mUnits(units) {}

    const std::string& Text() const { return mText; }
    std::size_t Units() const { return mUnits; }
    bool Equals(const CFObject& other) const override {
        return mText == static_cast<const StringObject&>(other).mText;
    }

private:
    std::string mText;
    std::size_t mUnits;
};

// The caller owns the result; null when the text is not well-formed UTF-8.
CFStringRef CreateString(std::string_view utf8);

// A string of the process's life, for exported constants. utf8 is well-formed.
CFStringRef ImmortalString(std::string_view utf8) noexcept;

// The UTF-8 text of a string that is not null, borrowed from it.
inline const std::string& TextOf(CFStringRef string) {
    return Cast<StringObject>(string).Text();
}

} // namespace velnor

#endif
