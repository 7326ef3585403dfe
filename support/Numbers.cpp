#include "support/Numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace {

constexpr double kExponentFrom = 1e12;
constexpr double kExponentUpTo = 1e-6;
constexpr std::size_t kLongestText = 64; // "%f" below kExponentFrom takes 21 characters

bool isWhole32(double v) {
    constexpr double kLowest = std::numeric_limits<int32_t>::min();
    constexpr double kHighest = std::numeric_limits<int32_t>::max();
    return v >= kLowest && v <= kHighest &&
           std::fabs(v - static_cast<int32_t>(v)) <= std::numeric_limits<double>::epsilon();
}

int format(std::array<char, kLongestText>& text, double v) {
    if (isWhole32(v)) {
        return std::snprintf(text.data(), text.size(), "%.1f", v);
    }
    const double a = std::fabs(v);
    if (a >= kExponentFrom || a <= kExponentUpTo) {
        return std::snprintf(text.data(), text.size(), "%.16e", v);
    }
    return std::snprintf(text.data(), text.size(), "%f", v);
}

} // namespace

bool PStringToDouble(const char* s, double& out) {
    if (s == nullptr) {
        return false;
    }
    const char* end = s;
    out = PStrtod(s, &end);
    return end != s && *end == '\0';
}

void PDoubleToString(std::string& out, double v, bool dotDecimal) {
    std::array<char, kLongestText> text{};
    format(text, v);
    out = text.data();
    if (dotDecimal) {
        std::replace(out.begin(), out.end(), ',', '.');
    }
}

std::string zeroPad(int n) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%02d", n);
    return text.data();
}
