// A file that appears under its name only when it is whole.
#ifndef VELNOR_HOST_JOB_PARTIALFILE_H
#define VELNOR_HOST_JOB_PARTIALFILE_H

#include "platform/UniqueFd.h"

#include <string>
#include <string_view>

namespace velnor::host {

// Written under a temporary name in the target's own folder and renamed by commit(). Until then the
// temporary file goes with this object, and with the process when a signal ends it. For standard
// output ("-") and for what is no regular file (a device, a pipe) the temporary file is nameless
// and commit() copies it out. A symbolic link stays, and what it leads to is replaced. Thread main.
class PartialFile {
public:
    // Throws JobError naming the path: the folder does not exist, no permission, a directory ...
    explicit PartialFile(const std::string& path);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    // Open for reading and writing; stays this object's.
    int descriptor() const { return mFile.Get(); }
    const std::string& path() const { return mPath; }

    // All of it, at the end. Throws JobError.
    void write(std::string_view bytes) { writeTo(mFile.Get(), bytes); }

    // Flushes to the disk and puts the file under its name, replacing what was there. Throws
    // JobError (no space left ...).
    void commit();

private:
    void openNameless();
    void copyOut();
    void copyTo(int target);
    void writeTo(int target, std::string_view bytes);
    [[noreturn]] void fail(const std::string& what) const;

    std::string mPath;      // as the caller gave it
    std::string mTarget;    // mPath without symbolic links
    std::string mTemporary; // empty: nameless
    UniqueFd mFile;
    int mSlot = -1;
};

// Whether a file's name is of the kind that temporary files get.
bool isPartialName(std::string_view name);

} // namespace velnor::host

#endif
