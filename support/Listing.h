// What lies below a folder, at every depth.
//
// Full paths (absolute, in the file system's bytes) are added to the set; one of more than 1,024
// bytes is left out. Hidden entries count like others; links are never followed, and count as
// files. Folders that cannot be read are skipped, and a root that cannot be resolved adds nothing.
// Thread any, concurrent on distinct sets, may block. Memory grows with the folders of two levels.
#ifndef VELNOR_SUPPORT_LISTING_H
#define VELNOR_SUPPORT_LISTING_H

#include <set>
#include <string>

namespace velnor {

// Adds every folder below root, not root itself.
void DirectoryLister(const std::string& root, std::set<std::string>& out);

// Adds every file whose name holds the pattern's match text, case-sensitively: all text behind the
// first "*", nothing for "*.*", the whole pattern without a "*". With matchDirectories a folder
// whose name matches is added too, and not looked into.
void FileLister(const std::string& root, const std::string& pattern, std::set<std::string>& out,
                bool matchDirectories);

} // namespace velnor

#endif
