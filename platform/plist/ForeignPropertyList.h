// Property lists of other programs that this one does not read.
//
// Each function says whether some reader of property lists could take a file: a lenient one, or one
// with other limits. What it says no to is read by nobody. All take time and memory linear in the
// file's size, whatever it holds.
#ifndef VELNOR_PLATFORM_PLIST_FOREIGNPROPERTYLIST_H
#define VELNOR_PLATFORM_PLIST_FOREIGNPROPERTYLIST_H

#include <string_view>

namespace velnor {

// In any form.
bool IsForeignPropertyList(std::string_view file);

// Binary, of any depth and size; objects may be shared, overlap, lie in each other, and be of kinds
// that only archives use.
bool IsForeignBinary(std::string_view file);

// XML, UTF-8 or in the encoding that it declares. Values may lie in elements of any name.
bool IsForeignXml(std::string_view document);

// Text in braces and parentheses, a table of strings, and JSON.
bool IsForeignText(std::string_view text);

} // namespace velnor

#endif
