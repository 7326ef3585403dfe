// Text put together from parts.
#ifndef VELNOR_SUPPORT_JOINEDTEXT_H
#define VELNOR_SUPPORT_JOINEDTEXT_H

#include <locale>
#include <sstream>
#include <string>

namespace velnor {

// The parts as an output stream writes them by default, in the standard locale whatever the host
// process's is: numbers without grouping, "." as the decimal mark.
template <typename... Parts>
std::string joined(const Parts&... parts) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    (text << ... << parts);
    return text.str();
}

} // namespace velnor

#endif
