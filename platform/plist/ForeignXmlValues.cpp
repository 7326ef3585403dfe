#include "platform/plist/ForeignXmlValues.h"

#include "platform/plist/PropertyListXmlLeaf.h"

#include <algorithm>
#include <utility>

namespace velnor {
namespace {

constexpr std::string_view kSpace = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
    return text.substr(0, text.find_last_not_of(kSpace) + 1);
}

// Characters that stand for other ones, digits of other scripts.
bool IsBeyondAscii(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return c == '&' || static_cast<unsigned char>(c) >= 0x80; });
}

std::string WithoutUnderscores(std::string_view text) {
    std::string plain(Trimmed(text));
    std::erase(plain, '_');
    return plain;
}

// Of any size.
bool IsInteger(std::string_view text) {
    const std::string plain = WithoutUnderscores(text);
    std::string_view digits = plain;
    if (digits.starts_with('-') || digits.starts_with('+')) {
        digits.remove_prefix(1);
    }
    const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
    digits.remove_prefix(isHex ? 2 : 0);
    return !digits.empty() &&
           digits.find_first_not_of(isHex ? "0123456789abcdefABCDEF" : "0123456789") == digits.npos;
}

// Down to the day, the hour, the minute or the second; what follows the "Z" does not count.
bool IsDate(std::string_view text) {
    constexpr std::string_view kMidnight = "2001-01-01T00:00:00";
    constexpr std::size_t kToDay = 10;
    std::string date(Trimmed(text));
    const auto end = date.find('Z');
    if (end == date.npos || end < kToDay || end > kMidnight.size() || (end - kToDay) % 3 != 0) {
        return false;
    }
    date.resize(end);
    date += kMidnight.substr(end);
    return IsXmlLeafText("date", date + "Z");
}

bool IsLeaf(std::string_view element) {
    return element == "string" || element == "integer" || element == "real" || element == "date" ||
           element == "data";
}

bool IsValue(std::string_view element, std::string_view text) {
    if (element == "integer") {
        return IsBeyondAscii(text) || IsInteger(text);
    }
    if (element == "real") {
        return IsBeyondAscii(text) || IsXmlLeafText("real", WithoutUnderscores(text));
    }
    return element != "date" || IsBeyondAscii(text) || IsDate(text);
}

} // namespace

bool ForeignXmlValues::Open(std::string_view element) {
    mText.clear();
    const bool isDictionary = element == "dict";
    if (!isDictionary && element != "array") {
        return true;
    }
    const bool isAdded = AddValue();
    mIsDictionary.push_back(isDictionary);
    return isAdded;
}

bool ForeignXmlValues::Close(std::string_view element) {
    if (element == "dict" || element == "array") {
        return CloseContainer();
    }
    if (element == "key") {
        return TakeKey();
    }
    if (element == "true" || element == "false") {
        return AddValue();
    }
    return !IsLeaf(element) || (IsValue(element, TakeText()) && AddValue());
}

bool ForeignXmlValues::AddValue() {
    if (mIsDictionary.empty()) {
        mHasRoot = true;
        return mKey == Key::none;
    }
    const bool hasKey = mKey != Key::none;
    mKey = Key::none;
    return hasKey == mIsDictionary.back();
}

bool ForeignXmlValues::CloseContainer() {
    const bool isDictionary = mIsDictionary.back();
    mIsDictionary.pop_back();
    return !isDictionary || mKey != Key::some;
}

bool ForeignXmlValues::TakeKey() {
    if (mKey == Key::some || mIsDictionary.empty() || !mIsDictionary.back()) {
        return false;
    }
    mKey = TakeText().empty() ? Key::empty : Key::some;
    return true;
}

std::string ForeignXmlValues::TakeText() {
    return std::exchange(mText, {});
}

} // namespace velnor
