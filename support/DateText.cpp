#include "support/DateText.h"

namespace velnor {

namespace {

constexpr std::size_t kBufferSize = 26; // the form, a line feed and the terminator

} // namespace

std::string dateText(std::time_t time) {
    std::tm local{};
    tzset();
    if (localtime_r(&time, &local) == nullptr) {
        return "";
    }
    char text[kBufferSize];
    // NOLINTNEXTLINE(bugprone-unsafe-functions): strftime's day and month names follow the locale.
    if (asctime_r(&local, text) == nullptr) {
        return "";
    }
    std::string date(text);
    date.pop_back();
    return date;
}

} // namespace velnor
