// What the library knows about compressed data. Thread any, concurrent, nonblocking.
#ifndef VELNOR_SUPPORT_COMPRESSION_H
#define VELNOR_SUPPORT_COMPRESSION_H

#include <string>

// The most bytes that n bytes can take in zlib's compressed form (zlib's compressBound rule).
unsigned long PcompressBound(unsigned long n);

// A placeholder: compresses nothing, touches neither file and answers false.
bool PGzipFile(const std::string& source, const std::string& destination);

#endif
