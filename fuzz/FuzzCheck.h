// Stopping a fuzzer where a result is wrong.
#ifndef VELNOR_FUZZ_FUZZCHECK_H
#define VELNOR_FUZZ_FUZZCHECK_H

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                   \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

#endif
