// Text as bytes: trimming, case, splitting and replacing.
//
// Thread any, concurrent on distinct arguments, may block (all of them allocate). An output may be
// the same string as the input.
#ifndef VELNOR_SUPPORT_TEXT_H
#define VELNOR_SUPPORT_TEXT_H

#include <string>
#include <vector>

// Without the leading and trailing bytes of value 32 or less. Bytes of 128 and above are text.
void trim(const std::string& in, std::string& out);
// Without leading spaces; tabs stay.
void trim_left(const std::string& in, std::string& out);
// Without trailing spaces; tabs stay.
void trim_right(const std::string& in, std::string& out);
// Without leading and trailing spaces and tabs.
void trim_space_tabs(const std::string& in, std::string& out);

// Each byte through toupper or tolower of the C locale in force.
void uppercase(const std::string& in, std::string& out);
void lowercase(const std::string& in, std::string& out);

// Appends the pieces of text between the occurrences of the whole delimiter, empty pieces too. A
// text without the delimiter gives nothing, not even itself, and so does an empty delimiter.
void PSimpleStringTokenizer(const std::string& text, const std::string& delimiter,
                            std::vector<std::string>& out);

// text with every occurrence of search, found left to right without overlap, replaced.
void PStringReplacer(const std::string& text, std::string& out, const std::string& search,
                     const std::string& replacement);

// The hook through which path and date texts pass on their way into the log: a plain copy.
std::string VLNSConv(const std::string& text);

// A placeholder: answers "DUMMYMD5" for any text and computes no digest.
std::string PcalcMD5(const std::string& text);

#endif
