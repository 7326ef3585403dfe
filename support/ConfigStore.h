// Settings kept between runs, in the user's preferences: per domain (an application identifier such
// as "com.velnor.ormo") a text or 32-bit integer per key, or a tree of dictionaries per key, whose
// leaves a key path names: element 0 is the key, each further element a key in the dictionary
// reached so far, the last one the leaf.
//
// All text is UTF-8. Text of more than 2,047 bytes can be written, but not read or listed. Writes
// go to the current user's own value and are flushed before the call returns; one that cannot be
// flushed (no permission, full disk) still answers true and goes out with the domain's next write,
// where no other process has written the same key, or leaf of a tree, since. Until then reads give
// what is stored.
// Every failure is a false result that leaves the output and the stored value as they were; nothing
// is logged. Lists are appended to, never cleared, and come in the store's order.
//
// Thread any, concurrent, may block. Each write of a tree is a read, a change and a write of one
// top-level key: of two processes that do it at once, one may lose its change.
#ifndef VELNOR_SUPPORT_CONFIGSTORE_H
#define VELNOR_SUPPORT_CONFIGSTORE_H

#include <string>
#include <vector>

namespace velnor {

// Every operation takes a level; only the reads by key path heed it.
enum CONFIG_LEVEL {
    CONFIG_LEVEL_USER = 0,  // the current user's own value
    CONFIG_LEVEL_SEARCH = 1 // the first value on the platform's search list, then the user's own
};

// A number in the range of a 32-bit integer, without fraction. The search list always comes first.
bool readConfigIntValue(const std::string& domain, const std::string& key, int& out,
                        CONFIG_LEVEL level);
bool writeConfigIntValue(const std::string& domain, const std::string& key, int value,
                         CONFIG_LEVEL level);

// A text. The search list always comes first.
bool readConfigStringValue(const std::string& domain, const std::string& key, std::string& out,
                           CONFIG_LEVEL level);
// The text at the end of the path.
bool readConfigStringValue(const std::string& domain, const std::vector<std::string>& path,
                           std::string& out, CONFIG_LEVEL level);

bool writeConfigStringValue(const std::string& domain, const std::string& key,
                            const std::string& value, CONFIG_LEVEL level);
// Makes the dictionaries on the way. A leaf that exists and is no text, and anything on the way
// that is no dictionary, stays as it is and makes the write fail, as does a path of fewer than two
// or more than 256 elements.
bool writeConfigStringValue(const std::string& domain, const std::vector<std::string>& path,
                            const std::string& value, CONFIG_LEVEL level);

// Always true, also when there was no value.
bool deleteConfigValue(const std::string& domain, const std::string& key, CONFIG_LEVEL level);
// A placeholder: does nothing and answers false.
bool deleteConfigKey(const std::string& domain, const std::string& key, CONFIG_LEVEL level);

// The keys of the dictionary at the key, "Root" for an empty key; the search list comes first. True
// when at least one was appended.
bool listConfigKeys(const std::string& domain, const std::string& key,
                    std::vector<std::string>& out, CONFIG_LEVEL level);
// The keys of the dictionary at the end of the path, in the user's own value; true when at least
// one was appended. A path of one element is a key. The empty path lists the user's keys of the
// domain itself, and is true whenever there are any.
bool listConfigKeys(const std::string& domain, const std::vector<std::string>& path,
                    std::vector<std::string>& out, CONFIG_LEVEL level);
// A placeholder: does nothing and answers false.
bool listConfigStringKeys(const std::string& domain, const std::string& key,
                          std::vector<std::string>& out, CONFIG_LEVEL level);

} // namespace velnor

#endif
