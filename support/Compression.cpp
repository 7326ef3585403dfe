#include "support/Compression.h"

unsigned long PcompressBound(unsigned long n) {
    return n + (n >> 12) + (n >> 14) + 11;
}

bool PGzipFile(const std::string&, const std::string&) {
    return false;
}
