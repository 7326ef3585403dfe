// A lock between the processes that write files of one folder.
#ifndef VELNOR_PLATFORM_PREFERENCES_FOLDERLOCK_H
#define VELNOR_PLATFORM_PREFERENCES_FOLDERLOCK_H

#include "platform/UniqueFd.h"

#include <chrono>
#include <string>

namespace velnor {

// Holds an exclusive lock on the file ".velnor-preferences.lock" of the folder, which stays there.
// The lock goes with the object, and with the process however that ends. Two threads exclude each
// other too.
class FolderLock {
public:
    // Waits for the lock; without it when the file cannot be made or the time runs out.
    FolderLock(const std::string& folder, std::chrono::milliseconds patience);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    explicit operator bool() const { return mHeld; }

private:
    UniqueFd mFile;
    bool mHeld = false;
};

} // namespace velnor

#endif
