#include "support/Random.h"

#include <cstdlib>

static_assert(RAND_MAX == 2147483647, "the draws scale by the generator's maximum");

uint32_t mt[kTwisterWords];
int mti = kTwisterNeverSeeded;

double PUrand() {
    return std::rand() * oneOnRANDMAX;
}

float PUrandf() {
    return static_cast<float>(PUrand());
}

double PBrand() {
    return std::rand() * oneOnRANDMAX2 - 1;
}

float PBrandf() {
    return static_cast<float>(PBrand());
}

void Psrand(unsigned long seed) {
    mt[0] = static_cast<uint32_t>(seed);
    for (uint32_t i = 1; i < kTwisterWords; ++i) {
        mt[i] = 1812433253U * (mt[i - 1] ^ (mt[i - 1] >> 30)) + i;
    }
    mti = kTwisterWords;
}
