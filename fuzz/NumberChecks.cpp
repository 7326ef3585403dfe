#include "fuzz/NumberChecks.h"

#include "fuzz/FuzzCheck.h"
#include "support/Numbers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace velnor::fuzz {

namespace {

struct Number {
    double value;
    std::size_t end;
    bool range;
};

// The value in extended precision, good to a few units in the last place of a double for the
// numbers of a bearable length.
Number plainNumber(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && (std::isspace(static_cast<unsigned char>(text[i])) ||
                               std::iscntrl(static_cast<unsigned char>(text[i])))) {
        ++i;
    }
    std::string digits;
    const auto take = [&](const char* set) {
        return i < text.size() && std::strchr(set, text[i]) != nullptr ? text[i++] : '\0';
    };
    const auto takeDigits = [&] {
        const std::size_t start = i;
        while (const char c = take("0123456789")) {
            digits += c;
        }
        return i - start;
    };
    if (const char sign = take("+-"); sign == '-') {
        digits = "-";
    }
    std::size_t count = takeDigits();
    if (take(".,") != '\0') {
        digits += '.';
        count += takeDigits();
    }
    if (count == 0) {
        return {0, 0, false};
    }
    const std::size_t mantissaEnd = i;
    const bool negative = digits.front() == '-';
    const bool huge = std::isinf(std::strtod(digits.c_str(), nullptr));
    if (take("eEdD") != '\0') {
        digits += 'e';
        if (const char sign = take("+-"); sign != '\0') {
            digits += sign;
        }
        const std::size_t exponentStart = digits.find('e') + 1;
        if (takeDigits() > 0) {
            const long long exponent = std::strtoll(digits.c_str() + exponentStart, nullptr, 10);
            const double value = std::strtod(digits.c_str(), nullptr);
            const double limit = negative ? -4294967295.0 : 4294967295.0;
            if (huge || exponent > INT_MAX || exponent < INT_MIN || std::isinf(value)) {
                return {limit, i, true};
            }
            return {value, i, exponent < 0 && std::fabs(value) < 2.2250738585072014e-308};
        }
        digits.erase(exponentStart - 1);
    }
    if (huge) {
        return {negative ? -4294967295.0 : 4294967295.0, mantissaEnd, true};
    }
    return {std::strtod(digits.c_str(), nullptr), mantissaEnd, false};
}

void checkNumber(const std::string& bytes) {
    const std::string text = bytes.c_str();
    const Number expected = plainNumber(text);
    const char* end = nullptr;
    errno = 0;
    const double value = PStrtod(text.c_str(), &end);
    FUZZ_CHECK(static_cast<std::size_t>(end - text.c_str()) == expected.end);
    const bool range = errno == ERANGE;
    const double size = std::fabs(expected.value);
    // Next to a limit the parser's own rounding decides.
    if (size > 1e300 || (size < 1e-300 && size > 0) || text.size() > 200) {
        return;
    }
    if (size == 0 && range != expected.range) {
        return; // digits so small that they vanish before or after the exponent is applied
    }
    FUZZ_CHECK(range == expected.range);
    FUZZ_CHECK(std::fabs(value - expected.value) <= 1e-11 * size + (size == 0 ? 1e-300 : 0));
    double whole = 0;
    FUZZ_CHECK(PStringToDouble(text.c_str(), whole) == (*end == '\0' && end != text.c_str()));
}

// As the C library's printf writes it in a locale with a decimal point.
std::string formatted(double value, std::chars_format format, int decimals) {
    std::array<char, 400> text;
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, format, decimals);
    FUZZ_CHECK(error == std::errc());
    return {text.data(), end};
}

std::string plainNumberText(double value) {
    const bool inRange = value >= INT_MIN && value <= INT_MAX;
    if (inRange && std::fabs(value - std::trunc(value)) <= 2.220446049250313e-16) {
        return formatted(value, std::chars_format::fixed, 1);
    }
    const double size = std::fabs(value);
    return size >= 1e12 || size <= 1e-6 ? formatted(value, std::chars_format::scientific, 16)
                                        : formatted(value, std::chars_format::fixed, 6);
}

void checkNumberText(double value) {
    const std::string expected = plainNumberText(value);
    for (const bool dotDecimal : {false, true}) {
        std::string text = "before";
        PDoubleToString(text, value, dotDecimal);
        FUZZ_CHECK(text == expected);
    }
    if (!std::isfinite(value) || std::fabs(value) > 1e300) {
        return;
    }
    // Parsed back, it is the number as far as its digits go: six decimals, or all that count; the
    // whole numbers count for what is as near them as 2.3e-16.
    double back = 0;
    FUZZ_CHECK(PStringToDouble(expected.c_str(), back));
    const double size = std::fabs(value);
    const double printed = size < 1e12 && size > 1e-6 ? 1e-6 : 2.3e-16;
    FUZZ_CHECK(std::fabs(back - value) <= printed + 1e-11 * size);
}

void checkZeroPad(int number) {
    const std::string digits = std::to_string(number);
    FUZZ_CHECK(zeroPad(number) == (digits.size() == 1 ? "0" + digits : digits));
}

template <typename T>
T numberIn(const std::string& bytes) {
    T number = 0;
    std::memcpy(&number, bytes.data(), std::min(sizeof number, bytes.size()));
    return number;
}

} // namespace

void checkNumbers(const std::string& bytes) {
    checkNumber(bytes);
    checkNumberText(numberIn<double>(bytes));
    checkNumberText(numberIn<float>(bytes)); // a number that has short texts
    checkNumberText(numberIn<short>(bytes) / 1024.0);
    checkZeroPad(numberIn<int>(bytes));
    checkZeroPad(numberIn<signed char>(bytes));
}

} // namespace velnor::fuzz
