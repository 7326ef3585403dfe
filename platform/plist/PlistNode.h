// The owner of a tree of the property-list library, and what the library's own calls cannot say.
#ifndef VELNOR_PLATFORM_PLIST_PLISTNODE_H
#define VELNOR_PLATFORM_PLIST_PLISTNODE_H

#include <cstdint>
#include <locale.h>
#include <memory>
#include <plist/plist.h>
#include <string>
#include <string_view>

namespace velnor {

struct PlistNodeDeleter {
    void operator()(void* node) const { plist_free(node); }
};
// The root of a tree, or a node that is not part of one yet.
using PlistNode = std::unique_ptr<void, PlistNodeDeleter>;

// The library's dates and unsigned integers are narrower by its calls than in its files. Both kinds
// go through the bytes of one object of a binary list instead: exact.
PlistNode DateNode(double secondsSince2001);
double DateOf(plist_t node);
PlistNode UnsignedNode(std::uint64_t value);
// True for an integer above 2^63-1, false for a negative one with the same low bits.
bool IsUnsigned(plist_t node);

// The file forms, written by the library.
std::string XmlOf(plist_t root);
std::string BinaryOf(plist_t root);

// While it lives, this thread reads and writes numbers with a decimal point, whatever the locale.
class PointLocale {
public:
    PointLocale();
    ~PointLocale();
    PointLocale(const PointLocale&) = delete;
    PointLocale& operator=(const PointLocale&) = delete;

private:
    locale_t mPoint;
    locale_t mBefore;
};

} // namespace velnor

#endif
