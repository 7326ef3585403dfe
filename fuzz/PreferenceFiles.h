// A domain's files in a home of their own: whatever they hold, and what must be read of it.
#ifndef VELNOR_FUZZ_PREFERENCEFILES_H
#define VELNOR_FUZZ_PREFERENCEFILES_H

#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "testing/TempHome.h"

#include <string>
#include <vector>

namespace velnor::fuzz {

// Two folders for all users are searched behind the user's; each holds a file for this host and one
// for any.
class PreferenceFiles {
public:
    static constexpr std::size_t kFiles = 6;
    // The scopes that a program can name, in the order of the search.
    enum Scope { kUserHost, kUser, kAllHost, kAll, kScopes };

    explicit PreferenceFiles(const std::string& domain);

    // Takes the changes along that could not be written.
    void Remove();
    // Into the files whose bits are set; the search begins at the one of bit 0.
    void Write(unsigned places, const std::string& content);

    // False for a file that only other programs read.
    bool IsWritable(Scope scope) const;

    // Stops the fuzzer when the preferences are not what the files hold, one behind another.
    void CheckReading() const;
    // Writes a value for a program; stops the fuzzer when another value or file changes by it, or
    // one that is not to be written to.
    void CheckWriting(Scope scope) const;

private:
    CFRef<CFTypeRef> TreeIn(std::size_t place) const;
    CFRef<CFTypeRef> Merged(const std::vector<std::size_t>& places) const;
    std::vector<std::string> Contents() const;

    testing::TempHome mHome;
    testing::ScopedEnv mFolders;
    CFRef<CFStringRef> mDomain;
    std::vector<std::string> mPaths;
};

} // namespace velnor::fuzz

#endif
