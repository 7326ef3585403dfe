// Looking at files and deleting them. Paths are bytes; relative ones start at the current
// directory.
//
// Thread any, concurrent, may block.
#ifndef VELNOR_SUPPORT_FILES_H
#define VELNOR_SUPPORT_FILES_H

#include <cstdint>
#include <ctime>
#include <string>

// True when anything exists at the path: isFile only says how the path is meant, a directory is
// found by both and a file too.
bool fileExists(const std::string& path, bool isFile);
// fileExists(path, false), so true for a regular file too.
bool directoryExists(const std::string& path);
// Bytes; 0 for a file that cannot be read, 4294967295 for larger ones.
uint32_t fileSize(const std::string& path);
// When the file was last modified, in seconds since 1970; 0 when it cannot be examined.
std::time_t fileDate(const std::string& path);
// "mtime : " and the modification time as "Mon Nov 16 18:54:07 2026", local time; a file that
// cannot be examined has time 0.
std::string getFileTimeDetails(const std::string& path);
// 0, or -1 with errno set.
int PDeleteFile(const std::string& path);
// The bytes in the system's legacy encoding as UTF-8; unchanged when that needs more than 2,047
// bytes.
std::string localToFileSystem(const std::string& text);

#endif
