#include "support/System.h"

#include <cmath>

namespace velnor {

namespace {

struct Assessment {
    float input;
    float floor;
    float ceiling;
};

constexpr Assessment kAssessments[] = {
    {3.14159F, 3, 4},   {4.5623F, 4, 5},          {-3.14159F, -4, -3},
    {-4.5623F, -5, -4}, {65536.5F, 65536, 65537}, {-65536.5F, -65537, -65536},
    {-0.4F, -1, 0},     {-0.5F, -1, 0},           {-0.6F, -1, 0},
};

bool holds(const Assessment& assessment) {
    // Volatile: the machine's functions are assessed, not the compiler's.
    const volatile float input = assessment.input;
    const auto floor = static_cast<float>(static_cast<int64_t>(std::floor(input)));
    return floor == assessment.floor && std::ceil(input) == assessment.ceiling;
}

} // namespace

bool System::mathAssessments() {
    bool all = true;
    for (const Assessment& assessment : kAssessments) {
        all = holds(assessment) && all;
    }
    return all;
}

} // namespace velnor
