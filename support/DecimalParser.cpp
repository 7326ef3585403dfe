#include "support/Numbers.h"

#include <cctype>
#include <cerrno>
#include <cfloat>
#include <cstdint>
#include <limits>

namespace {

constexpr double kRangeResult = 4294967295.0;
constexpr long double kTenth = 0.1L;
static_assert(LDBL_MANT_DIG == 64, "values scale by a tenth of 64 significant bits");

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isSkipped(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c != '\0' && (std::isspace(byte) || std::iscntrl(byte));
}

// -1 or 1; steps over the sign.
int readSign(const char*& s) {
    const int sign = *s == '-' ? -1 : 1;
    if (*s == '-' || *s == '+') {
        ++s;
    }
    return sign;
}

struct Mantissa {
    double value = 0;
    bool hasDigits = false;
    const char* end = nullptr;
};

double tenthOf(double value) {
    return static_cast<double>(value * kTenth);
}

Mantissa readMantissa(const char* s) {
    Mantissa m;
    for (; isDigit(*s); ++s, m.hasDigits = true) {
        m.value = m.value * 10 + (*s - '0');
    }
    if (*s == '.' || *s == ',') {
        double place = 0.1;
        for (++s; isDigit(*s); ++s, m.hasDigits = true) {
            m.value += (*s - '0') * place;
            place = tenthOf(place);
        }
    }
    m.end = s;
    return m;
}

struct Exponent {
    bool present = false;
    bool overflows = false;
    int32_t value = 0;
    const char* end = nullptr;
};

// s stands behind the mantissa.
Exponent readExponent(const char* s) {
    Exponent e;
    if (*s != 'e' && *s != 'E' && *s != 'd' && *s != 'D') {
        return e;
    }
    const int64_t sign = readSign(++s);
    int64_t value = 0;
    constexpr auto kLowest = std::numeric_limits<int32_t>::min();
    constexpr auto kHighest = std::numeric_limits<int32_t>::max();
    for (; isDigit(*s); ++s, e.present = true) {
        if (!e.overflows) {
            value = value * 10 + sign * (*s - '0');
        }
        e.overflows = value < kLowest || value > kHighest;
    }
    e.value = e.overflows ? 0 : static_cast<int32_t>(value);
    e.end = s;
    return e;
}

double outOfRange(double result) {
    errno = ERANGE;
    return result;
}

double scaleDown(double value, int32_t exponent) {
    for (; exponent < 0; ++exponent) {
        value = tenthOf(value);
        if (value < DBL_MIN) {
            return outOfRange(0);
        }
    }
    return value;
}

double scaleUp(double value, int32_t exponent) {
    if (value == 0) {
        return value;
    }
    for (; exponent > 0; --exponent) {
        value *= 10;
        if (value > DBL_MAX) {
            return outOfRange(kRangeResult);
        }
    }
    return value;
}

double magnitude(double mantissa, const Exponent& exponent) {
    if (mantissa > DBL_MAX || exponent.overflows) {
        return outOfRange(kRangeResult);
    }
    return exponent.value < 0 ? scaleDown(mantissa, exponent.value)
                              : scaleUp(mantissa, exponent.value);
}

} // namespace

double PStrtod(const char* s, const char** end) {
    if (end != nullptr) {
        *end = s;
    }
    while (isSkipped(*s)) {
        ++s;
    }
    const int sign = readSign(s);
    const Mantissa mantissa = readMantissa(s);
    if (!mantissa.hasDigits) {
        return 0;
    }
    const Exponent exponent = readExponent(mantissa.end);
    if (end != nullptr) {
        *end = exponent.present ? exponent.end : mantissa.end;
    }
    return sign * magnitude(mantissa.value, exponent);
}
