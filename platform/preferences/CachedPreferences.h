// The preference files that this process has used.
#ifndef VELNOR_PLATFORM_PREFERENCES_CACHEDPREFERENCES_H
#define VELNOR_PLATFORM_PREFERENCES_CACHEDPREFERENCES_H

#include "platform/preferences/PreferenceChanges.h"
#include "platform/preferences/PreferenceFile.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace velnor {

// One file and the changes to it that are not written yet. Thread any, concurrent.
class CachedPreferences {
public:
    using Keys = std::map<std::string, CFRef<CFStringRef>>;

    explicit CachedPreferences(std::string path);

    const std::string& Path() const { return mPath; }

    // The value as changed here, else as the file has it now; empty when there is none.
    CFRef<CFTypeRef> Value(std::string_view key);
    void AddKeysTo(Keys& keys);
    // An empty value removes the key. value is immutable.
    void Put(std::string_view key, CFRef<CFTypeRef> value);
    // False when the file could not be written or is not to be; the changes stay. False, too, when
    // it had no room for some of them, which are dropped. shared: see PreferenceWriter.
    bool Synchronize(bool shared);

private:
    void Refresh();
    CFRef<CFTypeRef> ValueInFile(std::string_view key);
    void Learn(PreferenceFile file);
    const DictionaryObject* Tree() const;

    const std::string mPath;
    std::mutex mMutex;                            // guards what follows
    std::shared_ptr<const PreferenceFile> mKnown; // never null
    FileStamp mStamp; // of the file when it was last found to have the known content
    bool mSettled = false;
    PreferenceChanges mChanges;
};

// The process's only object for a path; it stays for the life of the process.
CachedPreferences& PreferencesAt(const std::string& path);

} // namespace velnor

#endif
