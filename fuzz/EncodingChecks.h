// Byte-order marks and text encodings against plain versions and the C library.
#ifndef VELNOR_FUZZ_ENCODINGCHECKS_H
#define VELNOR_FUZZ_ENCODINGCHECKS_H

#include <string>

namespace velnor::fuzz {

void checkMark(const std::string& text);
void checkEncodings(const std::string& text);

} // namespace velnor::fuzz

#endif
