// Per-domain settings, one XML property list each.
//
// A domain's files, in the order in which a search looks:
//   user, this host   $XDG_CONFIG_HOME/velnor/ByHost/DOMAIN.HOST.plist
//   user, any host    $XDG_CONFIG_HOME/velnor/DOMAIN.plist
//   all users, host   DIR/velnor/ByHost/DOMAIN.HOST.plist, for each DIR of $XDG_CONFIG_DIRS
//   all users         DIR/velnor/DOMAIN.plist, likewise
// The files that several DIR hold for one scope count as one: the first that has a key gives its
// value, and the first is the one that is written.
//
// HOST is the machine's node name; in file names every "/", "%" and control character of both and
// every "." of HOST is percent-encoded. $XDG_CONFIG_HOME defaults to ~/.config and $XDG_CONFIG_DIRS
// to /etc/xdg; the home is $HOME, else the user database's.
//
// A write takes effect in this process at once and in the file with CFPreferencesSynchronize, which
// holds a lock file, reads the file again, merges the keys that changed here, writes a temporary
// file, flushes it and renames it: writers of different keys lose nothing, and a reader sees the
// old file or the new one. A change that could not be written stays pending and remembers the value
// that it was based on: when another program has given the key a new one by the next try, that one
// stays and the change is dropped.
//
// A link is followed to the file that it names. A binary file stays binary; an XML file becomes
// binary when it gets a value that XML cannot hold, such as text with control characters. Values of
// other programs survive untouched. A property list that only other programs can read (too large,
// too deep, of another form or encoding, its root no dictionary: PlatformPropertyListIsForeign)
// reads as absent and is never written to. Any other file that does not parse reads as absent and
// is kept under a new name, NAME.damaged, before it is replaced. Reads are answered from a cache
// per file that is checked against the file's identity, size and time each time.
#ifndef VELNOR_PLATFORM_CFPREFERENCES_H
#define VELNOR_PLATFORM_CFPREFERENCES_H

#include "platform/CFArray.h"
#include "platform/CFBase.h"

VELNOR_BEGIN_C

VELNOR_PLATFORM_API extern const CFStringRef kCFPreferencesCurrentUser;
VELNOR_PLATFORM_API extern const CFStringRef kCFPreferencesAnyUser;
VELNOR_PLATFORM_API extern const CFStringRef kCFPreferencesCurrentHost;
VELNOR_PLATFORM_API extern const CFStringRef kCFPreferencesAnyHost;

// Thread any, concurrent, may block: all calls of this file.

// The first value that the search finds, or null.
VELNOR_PLATFORM_API CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key,
                                                                CFStringRef domain);
// One file's value, or null.
VELNOR_PLATFORM_API CFPropertyListRef CFPreferencesCopyValue(CFStringRef key, CFStringRef domain,
                                                             CFStringRef user, CFStringRef host);
// The keys of one file in ascending order; null when it has none.
VELNOR_PLATFORM_API CFArrayRef CFPreferencesCopyKeyList(CFStringRef domain, CFStringRef user,
                                                        CFStringRef host);
// A null value removes the key. The value is copied. Nothing happens when no file can hold it:
// when a dictionary of this key and value alone is no property list (platform/CFPropertyList.h) or
// holds a zero character.
VELNOR_PLATFORM_API void CFPreferencesSetValue(CFStringRef key, CFPropertyListRef value,
                                               CFStringRef domain, CFStringRef user,
                                               CFStringRef host);
// False when the file could not be written or what is there could not be read: a folder, say, no
// permission, or a property list that only other programs read. The file is untouched then, and the
// changes stay pending: until they are written, reads give what the file has, and the next call
// tries again those whose key has the same value as when they were made. False, too, when the file
// with all changes would be larger than a property list may be: those that it has no room for are
// dropped then, the others written. It gives up on a writer
// that holds the lock for more than ten seconds. True at once when there is nothing to write.
VELNOR_PLATFORM_API Boolean CFPreferencesSynchronize(CFStringRef domain, CFStringRef user,
                                                     CFStringRef host);

// Where a domain's file lies (not of the original interface; for tools that show it to people).
// Null when there is no home.
VELNOR_PLATFORM_API CFStringRef PlatformPreferencesCopyPath(CFStringRef domain, CFStringRef user,
                                                            CFStringRef host);
// How many files were read and parsed so far in this process: what the cache is tested with.
VELNOR_PLATFORM_API CFIndex PlatformPreferencesParseCount(void);

VELNOR_END_C

#endif
