// Copying a file.
#ifndef VELNOR_SUPPORT_FILECOPY_H
#define VELNOR_SUPPORT_FILECOPY_H

#include <string>

enum {
    kCopyDone = 0,
    kCopyRefused = 1, // no permission, or the destination exists and overwrite is false
    kCopyFailed = 2   // anything else, a source or folder that does not exist among it
};

// Copies source to the path destination, whose folder exists, and returns one of the values above.
// A destination that exists stays whole unless the copy succeeds; a folder that is overwritten goes
// with all that it holds. Thread any, concurrent, may block.
int PCopyFile(const std::string& source, const std::string& destination, bool overwrite);

#endif
