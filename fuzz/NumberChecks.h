// The number functions against plain versions that follow their rules word by word.
#ifndef VELNOR_FUZZ_NUMBERCHECKS_H
#define VELNOR_FUZZ_NUMBERCHECKS_H

#include <string>

namespace velnor::fuzz {

// The bytes as the text of a number, and as numbers.
void checkNumbers(const std::string& bytes);

} // namespace velnor::fuzz

#endif
