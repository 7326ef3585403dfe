// Numbers from text and text from numbers.
//
// Thread any, concurrent, may block where text is made.
#ifndef VELNOR_SUPPORT_NUMBERS_H
#define VELNOR_SUPPORT_NUMBERS_H

#include <string>

// Reads a decimal number whatever the locale: white space and control characters, a sign, digits
// with "." or "," between, and an exponent after "e", "E", "d" or "D". Stores in *end, unless end
// is null, where reading stopped: s itself when there is no digit, in front of the exponent letter
// when no exponent follows it. errno is set to ERANGE, and only then written, when the value is
//   too large, or its exponent no 32-bit integer: the result is sign x 4294967295
//   below the smallest normal number on the way through a negative exponent: sign x 0; so for zero
//   with a negative exponent too
// Digits are summed one by one, as the stored settings of every release were read: the result may
// be off the nearest double in the last place. Takes time linear in the text. s is not null.
double PStrtod(const char* s, const char** end);

// True when the whole of s is one number. out is written whenever s is not null.
bool PStringToDouble(const char* s, double& out);

// Whole 32-bit values with one decimal ("3.0"); values up to 1e-6 and from 1e12 with an exponent
// and 16 decimals; others with six decimals. The decimal mark is the C locale's; with dotDecimal
// every
// "," becomes ".".
void PDoubleToString(std::string& out, double v, bool dotDecimal);

// At least two digits: 7 gives "07", -5 gives "-5".
std::string zeroPad(int n);

#endif
