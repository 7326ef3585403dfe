// Paths as text, with "/" between names. Nothing here looks at the file system.
//
// Thread any, concurrent, may block.
#ifndef VELNOR_SUPPORT_PATHSTRINGS_H
#define VELNOR_SUPPORT_PATHSTRINGS_H

#include <string>

// Everything in front of the last "/" ("" for "/a"); "." without a "/"; "" for "".
std::string getPathFromFile(const std::string& path);
// Everything behind the last "/" ("" for "dir/"); the whole path without one.
std::string getFileFromPath(const std::string& path);
// Everything in front of the last "."; the whole name without one.
std::string stripFileExtension(const std::string& name);
// Everything behind the last "."; "" without one.
std::string getFileExtension(const std::string& name);
// True when path is empty or does not begin with "/".
bool pathIsRelative(const std::string& path);
// Replaces \ / * ? > < | : and the space by "_".
void cleanPathName(std::string& name);
// The first 2,047 bytes of the path with "/" for every backslash. path is not null.
void PToPosix(const char* path, std::string& out);
void PToPosix(const std::string& path, std::string& out);

#endif
