// Entries of a folder that stand under a temporary name until they are complete.
#ifndef VELNOR_PLATFORM_FILES_TEMPORARYENTRY_H
#define VELNOR_PLATFORM_FILES_TEMPORARYENTRY_H

#include <string>

namespace velnor {

// Removes an entry of an open folder, a folder with all that it holds. Folders of the user's own
// that are closed to him are opened first.
void RemoveEntry(int folder, const std::string& name) noexcept;

// Chooses a name that is not in use in an open folder, which has to stay open, and removes at the
// end whatever stands under that name.
class TemporaryEntry {
public:
    explicit TemporaryEntry(int folder);
    ~TemporaryEntry() { RemoveEntry(mFolder, mName); }
    TemporaryEntry(const TemporaryEntry&) = delete;
    TemporaryEntry& operator=(const TemporaryEntry&) = delete;

    const std::string& Name() const { return mName; }

    // Gives the entry its final name in the same folder, at once for any other process. Returns 0
    // or an errno value: EEXIST when the name is taken and replace is false. An entry that is
    // replaced goes; after a failure it is untouched.
    int Commit(const std::string& name, bool replace);

private:
    int CommitNew(const std::string& name);
    int CommitOver(const std::string& name);
    int SwapThroughSecondName(const std::string& name);

    int mFolder;
    std::string mName;
};

} // namespace velnor

#endif
