// One write of a preference file, alone among all processes.
#ifndef VELNOR_PLATFORM_PREFERENCES_PREFERENCEWRITER_H
#define VELNOR_PLATFORM_PREFERENCES_PREFERENCEWRITER_H

#include "platform/preferences/FolderLock.h"
#include "platform/preferences/PreferenceChanges.h"
#include "platform/preferences/PreferenceFile.h"

#include <optional>
#include <string>
#include <vector>

namespace velnor {

// Holds the lock of the folder in which the file, links followed, lies.
class PreferenceWriter {
public:
    // shared: the file is for all users, who may read it.
    PreferenceWriter(const std::string& path, bool shared);

    // False when there is no folder to write to or the lock cannot be had.
    bool IsReady() const { return mLock.has_value() && *mLock; }

    struct Written {
        PreferenceFile file; // as it is then
        bool isWhole;        // false when the file has no room for some of the changes
    };
    // Merges the changes into the file as it is now. known is the file as it was seen last and
    // spares a parse when nothing changed. A damaged file is kept under another name before it is
    // replaced, and binary files stay binary. Nothing when the file could not be read or written,
    // or is a property list that only other programs read: it is untouched then.
    std::optional<Written> Merge(const std::vector<PreferenceChange>& changes,
                                 const PreferenceFile& known);

private:
    bool Replace(PreferenceFile& file, CFRef<CFDictionaryRef> merged);

    bool mShared;
    std::string mPath;
    std::optional<FolderLock> mLock;
};

} // namespace velnor

#endif
