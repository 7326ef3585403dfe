// What an XML property list must fulfil before the library reads it, and after it wrote one.
//
// The library takes cut documents, unfinished dictionaries and numbers that are none for good, and
// leaves line ends as they are.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTXML_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTXML_H

#include <optional>
#include <string>
#include <string_view>

namespace velnor {

// The document's values in tags and text alone, which the library reads without loss: it ends
// attributes, comments and instructions elsewhere than XML does. Nothing when the document is not
// well-formed, whole, UTF-8, and within the limits.
std::optional<std::string> PreparedXml(std::string_view document);

// True when XML has a form for every character of the text, which is UTF-8.
bool FitsXml(std::string_view text);

// The library's output in a form whose carriage returns any reader keeps.
std::string FinishedXml(std::string_view document);

} // namespace velnor

#endif
