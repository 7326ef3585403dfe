// How deep and how large the tree is that TinyXML makes of a document.
//
// TinyXML recurses once for each element inside another when it parses, destroys or copies a tree,
// and compares each attribute with all others of its element. A document is measured before it is
// handed over, in time linear in its size.
#ifndef VELNOR_SUPPORT_XMLEXTENT_H
#define VELNOR_SUPPORT_XMLEXTENT_H

#include <cstddef>
#include <string_view>

namespace velnor {

struct XmlExtent {
    std::size_t depth = 0;      // elements inside each other
    std::size_t nodes = 0;      // elements, attributes, comments and the like
    std::size_t attributes = 0; // the most of one element
    std::size_t compared = 0;   // bytes of attributes' names, each as often as its element has any
    // The text ends within a character. TinyXML would read on behind its end.
    bool isCut = false;
};

// Never less than TinyXML makes, which is lenient: quotes, comments, CDATA sections, declarations
// and characters of several bytes hide a tag here exactly where they hide it there, and the
// encoding is found out as it does. text has no zero byte and no carriage return.
XmlExtent measureXml(std::string_view text);

} // namespace velnor

#endif
