// How large a property list is, and how large one may be: the same for a tree and for both file
// forms, so that what can be written can be read.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTSIZE_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTSIZE_H

#include "platform/CFBase.h"

#include <cstddef>
#include <optional>

namespace velnor {

constexpr int kMaxPropertyListDepth = 256;                           // containers inside each other
constexpr std::size_t kMaxPropertyListBytes = std::size_t{64} << 20; // of a file
// Keys count too. The time that the library takes for a dictionary grows with its keys' square.
constexpr std::size_t kMaxPropertyListValues = std::size_t{1} << 17;

// What stands at several places counts at each of them.
struct PropertyListSize {
    std::size_t values = 0; // keys too
    std::size_t bytes = 0;  // of a binary file, at most

    // Counts a value or a key. content is its data, ASCII or UTF-16 text in bytes.
    void Add(std::size_t content);
    void Add(const PropertyListSize& other);
    void Subtract(const PropertyListSize& other);
    bool IsBearable() const;
};

// Nothing for null and when the tree holds a type that property lists do not have, nests too deep
// or is larger than bearable.
std::optional<PropertyListSize> SizeOfTree(CFTypeRef tree);

} // namespace velnor

#endif
