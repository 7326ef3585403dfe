#include "support/Numbers.h"
#include "support/Compression.h"
#include "support/XmlAttribute.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cmath>
#include <limits>

namespace {

constexpr double kRange = 4294967295.0;

struct Parse {
    std::string text;
    double value;
    std::size_t read;
    int error = 0;
};

TEST(PStrtod, ReadsToTheEndOfTheNumberInEveryForm) {
    const std::string nines(400, '9');
    const Parse cases[] = {
        {"3,25", 3.25, 4},
        {"3.25", 3.25, 4},
        {"  -1.5e3x", -1500, 8},
        {"\t\n\x01\x7F+2", 2, 6},
        {"12e", 12, 2},
        {"12e+", 12, 2},
        {"12D1", 120, 4},
        {"12d-", 12, 2},
        {"1.", 1, 2},
        {",5", 0.5, 2},
        {"1.2.3", 1.2, 3},
        {"abc", 0, 0},
        {"", 0, 0},
        {"  .", 0, 0},
        {"--1", 0, 0},
        {"-0", -0.0, 2},
        {"0e2147483647", 0, 12},
        {"0e0", 0, 3},
        {"1e400", kRange, 5, ERANGE},
        {"-1e309", -kRange, 6, ERANGE},
        {"1e2147483648", kRange, 12, ERANGE},
        {"-1e-99999999999999999999", -kRange, 24, ERANGE},
        {"1e-2147483648", 0, 13, ERANGE},
        {"0e-1", 0, 4, ERANGE},
        {"-1e-308", -0.0, 7, ERANGE},
        {nines, kRange, 400, ERANGE},
        {"-" + nines + ".5e-390x", -kRange, 408, ERANGE},
    };
    for (const Parse& expected : cases) {
        const char* end = nullptr;
        errno = 0;
        const double value = PStrtod(expected.text.c_str(), &end);
        EXPECT_DOUBLE_EQ(value, expected.value) << expected.text;
        EXPECT_EQ(std::signbit(value), std::signbit(expected.value)) << expected.text;
        EXPECT_EQ(end - expected.text.c_str(), static_cast<std::ptrdiff_t>(expected.read))
            << expected.text;
        EXPECT_EQ(errno, expected.error) << expected.text;
    }
    EXPECT_EQ(PStrtod("7", nullptr), 7);
}

// The bits come from exact rational arithmetic, rounded where the parser rounds. With a tenth of 53
// bits all but the first two differ.
TEST(PStrtod, ScalesByATenthOf64Bits) {
    const std::pair<const char*, double> cases[] = {
        {"0.7", 0x1.6666666666667p-1},
        {"4.35e22", 0x1.26c478a0e3ea8p+75},
        {"1e-5", 0x1.4f8b588e368f1p-17},
        {"123.456789e-20", 0x1.6c614ff8fcffap-60},
        {"2.2250738585072014e-308", 0x1.0000000000003p-1022},
        {"1e-307", 0x1.1fa182c40c618p-1020},
        {"9.999999e-3", 0x1.47ae12551fcabp-7},
        {"8e-300", 0x1.56e1fc2f8f366p-994},
    };
    for (const auto& [text, value] : cases)
        EXPECT_EQ(PStrtod(text, nullptr), value) << text;
}

TEST(PStringToDouble, IsTrueForWholeNumbersOnly) {
    double value = 9;
    EXPECT_FALSE(PStringToDouble(nullptr, value));
    EXPECT_EQ(value, 9);
    EXPECT_TRUE(PStringToDouble("12.5", value));
    EXPECT_EQ(value, 12.5);
    EXPECT_FALSE(PStringToDouble("13.5 ", value));
    EXPECT_EQ(value, 13.5);
    EXPECT_FALSE(PStringToDouble("", value));
    EXPECT_EQ(value, 0);
}

TEST(XmlAttribute, ReadsNumbersWithACommaAndRefusesOtherText) {
    double value = 0;
    EXPECT_EQ(velnor::QueryDoubleValue(TiXmlAttribute("gain", "0,5"), value), TIXML_SUCCESS);
    EXPECT_EQ(value, 0.5);
    EXPECT_EQ(velnor::QueryDoubleValue(TiXmlAttribute("gain", "0.5dB"), value), TIXML_WRONG_TYPE);
}

TEST(PDoubleToString, ChoosesTheFormByTheValue) {
    const std::pair<double, const char*> cases[] = {
        {2, "2.0"},
        {0, "0.0"},
        {1e-17, "0.0"},
        {-2147483648.0, "-2147483648.0"},
        {2147483648.0, "2147483648.000000"},
        {0.5, "0.500000"},
        {-1234567.25, "-1234567.250000"},
        {999999999999.5, "999999999999.500000"},
        {1e13, "1.0000000000000000e+13"},
        {1e12, "1.0000000000000000e+12"},
        {-1e-6, "-9.9999999999999995e-07"},
        {1e-7, "9.9999999999999995e-08"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
    };
    for (const auto& [value, expected] : cases) {
        std::string text = "old";
        PDoubleToString(text, value, true);
        EXPECT_EQ(text, expected);
    }
}

TEST(Numbers, PadsAndBounds) {
    EXPECT_EQ(zeroPad(0), "00");
    EXPECT_EQ(zeroPad(7), "07");
    EXPECT_EQ(zeroPad(123), "123");
    EXPECT_EQ(zeroPad(-5), "-5");
    EXPECT_EQ(PcompressBound(0), 11U);
    EXPECT_EQ(PcompressBound(1000000), 1000000U + 244 + 61 + 11);
}

} // namespace
