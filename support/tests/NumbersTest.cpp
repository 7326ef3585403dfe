#include "support/Numbers.h"

#include "support/Compression.h"
#include "support/XmlAttribute.h"
#include "testing/Testing.h"

#include <cerrno>
#include <cmath>
#include <limits>

namespace velnor::testing {
namespace {

TEST(PStrtod, ReadsToTheEndOfTheNumberInEveryForm) {
    constexpr double kRange = 4294967295.0;
    const std::string nines(400, '9');
    for (const auto& [text, value, read, error] :
         Rows<std::string, double, int, int>{{"3,25", 3.25, 4, 0},
                                             {"3.25", 3.25, 4, 0},
                                             {"  -1.5e3x", -1500, 8, 0},
                                             {"\t\n\x01\x7F+2", 2, 6, 0},
                                             {"12e", 12, 2, 0},
                                             {"12e+", 12, 2, 0},
                                             {"12D1", 120, 4, 0},
                                             {"1.", 1, 2, 0},
                                             {",5", 0.5, 2, 0},
                                             {"1.2.3", 1.2, 3, 0},
                                             {"abc", 0, 0, 0},
                                             {"  .", 0, 0, 0},
                                             {"--1", 0, 0, 0},
                                             {"-0", -0.0, 2, 0},
                                             {"0e2147483647", 0, 12, 0},
                                             {"1e400", kRange, 5, ERANGE},
                                             {"-1e309", -kRange, 6, ERANGE},
                                             {"1e2147483648", kRange, 12, ERANGE},
                                             {"-1e-99999999999", -kRange, 15, ERANGE},
                                             {"1e-2147483648", 0, 13, ERANGE},
                                             {"0e-1", 0, 4, ERANGE},
                                             {"-1e-308", -0.0, 7, ERANGE},
                                             {nines, kRange, 400, ERANGE},
                                             {"-" + nines + ".5e-390x", -kRange, 408, ERANGE}}) {
        const char* end = nullptr;
        errno = 0;
        const double actual = PStrtod(text.c_str(), &end);
        EXPECT_DOUBLE_EQ(actual, value) << text;
        EXPECT_EQ(std::signbit(actual), std::signbit(value)) << text;
        EXPECT_EQ(end - text.c_str(), read) << text;
        EXPECT_EQ(errno, error) << text;
    }
    EXPECT_EQ(PStrtod("7", nullptr), 7);
}

// The bits come from exact rational arithmetic, rounded where the parser rounds. With a tenth of 53
// bits all but the first two differ.
TEST(PStrtod, ScalesByATenthOf64Bits) {
    for (const auto& [text, value] :
         Rows<const char*, double>{{"0.7", 0x1.6666666666667p-1},
                                   {"4.35e22", 0x1.26c478a0e3ea8p+75},
                                   {"1e-5", 0x1.4f8b588e368f1p-17},
                                   {"123.456789e-20", 0x1.6c614ff8fcffap-60},
                                   {"2.2250738585072014e-308", 0x1.0000000000003p-1022},
                                   {"9.999999e-3", 0x1.47ae12551fcabp-7},
                                   {"8e-300", 0x1.56e1fc2f8f366p-994}}) {
        EXPECT_EQ(PStrtod(text, nullptr), value) << text;
    }
}

TEST(PStringToDouble, IsTrueForWholeNumbersOnlyAndWritesAlways) {
    double value = 9;
    EXPECT_FALSE(PStringToDouble(nullptr, value));
    EXPECT_EQ(value, 9);
    EXPECT_FALSE(PStringToDouble("13.5 ", value));
    EXPECT_EQ(value, 13.5);
    EXPECT_FALSE(PStringToDouble("", value));
    EXPECT_EQ(value, 0);
    EXPECT_EQ(QueryDoubleValue(TiXmlAttribute("gain", "0,5"), value), TIXML_SUCCESS);
    EXPECT_EQ(value, 0.5);
    EXPECT_EQ(QueryDoubleValue(TiXmlAttribute("gain", "0.5dB"), value), TIXML_WRONG_TYPE);
}

TEST(PDoubleToString, ChoosesTheFormByTheValue) {
    for (const auto& [value, expected] :
         Rows<double, const char*>{{2, "2.0"},
                                   {0, "0.0"},
                                   {1e-17, "0.0"},
                                   {0.5, "0.500000"},
                                   {-2147483648.0, "-2147483648.0"},
                                   {2147483648.0, "2147483648.000000"},
                                   {999999999999.5, "999999999999.500000"},
                                   {1e12, "1.0000000000000000e+12"},
                                   {1e13, "1.0000000000000000e+13"},
                                   {-1e-6, "-9.9999999999999995e-07"},
                                   {1e-7, "9.9999999999999995e-08"},
                                   {std::numeric_limits<double>::infinity(), "inf"},
                                   {std::numeric_limits<double>::quiet_NaN(), "nan"}}) {
        std::string text = "old";
        PDoubleToString(text, value, true);
        EXPECT_EQ(text, expected);
    }
}

TEST(Numbers, PadsAndBounds) {
    EXPECT_EQ(zeroPad(0) + zeroPad(7) + zeroPad(123) + zeroPad(-5), "0007123-5");
    EXPECT_EQ(PcompressBound(1000000), 1000000U + 244 + 61 + 11);
}

} // namespace
} // namespace velnor::testing
