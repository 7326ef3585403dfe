// Dates as people read them.
#ifndef VELNOR_SUPPORT_DATETEXT_H
#define VELNOR_SUPPORT_DATETEXT_H

#include <ctime>
#include <string>

namespace velnor {

// Local time in the standard library's fixed form of 24 characters, "Mon Nov 16 18:54:07 2026",
// whatever the locale. Empty for a time past the year 9999, which the form has no room for.
// Thread any, concurrent, may block.
std::string dateText(std::time_t time);

} // namespace velnor

#endif
