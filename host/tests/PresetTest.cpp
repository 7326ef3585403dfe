#include "host/tests/HostProgram.h"
#include "testing/Testing.h"

namespace velnor::testing {
namespace {

std::string listOf(const std::string& value) {
    return "<plist version=\"1.0\"><dict><key>k</key>" + value + "</dict></plist>";
}

TEST(Preset, DiffComparesValuesAndHasALineForEachDifference) {
    const std::string data(23, 'A'); // 18 bytes in base 64, with one digit more
    const std::string zeros = " 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...\n";
    const auto empty = [](const std::string& key) { return "<key>" + key + "</key><dict/>"; };
    HostProgram program;
    for (const auto& [a, b, lines] : Rows<std::string, std::string, std::string>{
             {"<array><string>x</string><true/></array>",
              "<array><string>y</string><true/></array>", "- k[0] = \"x\"\n+ k[0] = \"y\"\n"},
             {"<array><true/></array>", "<array><true/><dict/></array>",
              "+ k[1] = an empty dictionary\n"},
             {"<date>2026-01-01T00:00:00Z</date>", "<date>2026-01-01T00:00:01Z</date>",
              "- k = a date, 788918400 seconds after 2001-01-01\n"
              "+ k = a date, 788918401 seconds after 2001-01-01\n"},
             {"<real>0.1</real>", "<real>0.10000000000000002</real>",
              "- k = 0.10000000000000001\n+ k = 0.10000000000000002\n"},
             {"<real>1</real>", "<integer>1</integer>", "- k = 1.0\n+ k = 1\n"},
             {"<dict/>", "<array/>", "- k = an empty dictionary\n+ k = an empty list\n"},
             {"<dict/>", "<dict>" + empty("a") + "</dict>", "+ k/a = an empty dictionary\n"},
             {"<dict>" + empty("b") + "</dict>", "<dict>" + empty("a") + "</dict>",
              "- k/b = an empty dictionary\n+ k/a = an empty dictionary\n"},
             {"<true/>", "<true/>" + empty("k2"), "+ k2 = an empty dictionary\n"},
             {"<true/>" + empty("a/b"), "<true/><key>a</key><dict>" + empty("b") + "</dict>",
              "- a/b = an empty dictionary\n+ a/b = an empty dictionary\n"},
             {"<data>" + data + "A</data>", "<data>" + data + "B</data>",
              "- k = 18 bytes, sum 77e875b1c7b6a32d:" + zeros +
                  "+ k = 18 bytes, sum 77e874b1c7b6a17a:" + zeros},
             {"<array><dict/><real>1.5</real></array>", "<array><dict/><real>1.5</real></array>",
              ""}}) {
        const Outcome outcome =
            program.run({"preset", "diff", WriteFile(program.path("a"), listOf(a)),
                         WriteFile(program.path("b"), listOf(b))});
        EXPECT_EQ(outcome.out, lines) << a;
        EXPECT_EQ(outcome.status, lines.empty() ? 0 : 1) << a;
    }
}

} // namespace
} // namespace velnor::testing
