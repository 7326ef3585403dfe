// Random numbers.
//
// Each draw takes one value of the standard library's generator, which srand seeds; that state is
// shared with the whole process, so concurrent draws are safe but cannot be reproduced.
//
// Thread any, concurrent where nothing else is said, may block: the generator locks its state.
#ifndef VELNOR_SUPPORT_RANDOM_H
#define VELNOR_SUPPORT_RANDOM_H

#include <cstdint>

constexpr double oneOnRANDMAX = 1.0 / 2147483647.0;
constexpr double oneOnRANDMAX2 = 2.0 / 2147483647.0;

// 0 to 1, both included.
double PUrand();
float PUrandf();
// -1 to 1, both included.
double PBrand();
float PBrandf();

constexpr int kTwisterWords = 624;
constexpr int kTwisterNeverSeeded = kTwisterWords + 1;

// The MT19937 state. Nothing here draws from it. mti is kTwisterNeverSeeded until Psrand has run.
extern uint32_t mt[kTwisterWords];
extern int mti;

// Seeds the MT19937 state with the seed's low 32 bits. Exclusive.
void Psrand(unsigned long seed);

#endif
