// What the configuration store and the installation registry share: top-level values and the walk
// through a tree of dictionaries. Internal to the support library.
#ifndef VELNOR_SUPPORT_CONFIGTREE_H
#define VELNOR_SUPPORT_CONFIGTREE_H

#include "platform/CFRef.h"
#include "platform/CFString.h"

#include <span>
#include <string>
#include <vector>

namespace velnor::config {

using Value = CFRef<CFPropertyListRef>;
using Text = CFRef<CFStringRef>;

// Null when the text is not UTF-8.
Text makeText(const std::string& utf8);

// False, with out untouched, when the value is no text or needs more than 2,047 bytes. value may be
// null.
bool readText(CFTypeRef value, std::string& out);

// Domain and key as the preferences take them.
struct Address {
    Address(const std::string& domainName, const std::string& keyName);
    // False when either is not UTF-8: no such value can exist.
    explicit operator bool() const { return domain && key; }

    Text domain;
    Text key;
};

// The current user's own value; null when there is none.
Value copyOwn(const Address& address);
// The first value on the search list, then the user's own.
Value copySearched(const Address& address);
// Sets the user's own value, null to remove it, and flushes it to permanent storage.
void storeOwn(const Address& address, CFPropertyListRef value);
void synchroniseOwn(const Address& address);

// value may be null.
bool isDictionary(CFTypeRef value);

// The value at a key, borrowed from node; null when there is none or node, which may be null, is no
// dictionary.
CFTypeRef child(CFTypeRef node, CFStringRef key);

// The value that the elements lead to, borrowed from root; null when one is absent, is not UTF-8 or
// stands below something that is no dictionary. root may be null.
CFTypeRef find(CFTypeRef root, std::span<const std::string> elements);

// All keys, borrowed; none when dictionary, which may be null, is none.
std::vector<CFStringRef> keysOf(CFTypeRef dictionary);

// Appends the keys that can be read; true when there was one.
bool appendKeys(CFTypeRef dictionary, std::vector<std::string>& out);

} // namespace velnor::config

#endif
