// Lines, and files of key-value lines. Thread any, concurrent on distinct arguments, may block.
#ifndef VELNOR_SUPPORT_TEXTFILES_H
#define VELNOR_SUPPORT_TEXTFILES_H

#include <iosfwd>
#include <map>
#include <string>

// The next line, ended by CR LF, LF or CR, which are not stored. False when nothing was read
// because the stream is at its end or has failed.
bool getLine(std::istream& in, std::string& line);

// Reads "key SEPARATOR value" lines: both sides trimmed, later lines override earlier ones, lines
// without the separator are skipped, empty keys and values are stored. Entries are added to out,
// which is not cleared. False when the file cannot be opened.
bool createStringMap(const std::string& path, std::map<std::string, std::string>& out,
                     char separator);

#endif
