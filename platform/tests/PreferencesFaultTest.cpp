#include "platform/tests/PreferencesHome.h"
#include "platform/tests/SystemFault.h"

#include <gtest/gtest.h>

namespace velnor::test {
namespace {

struct Case {
    const char* name;
    Fault fault;
    std::string content; /* of the file before; empty: there is none */
};
const std::string kSound = PlistFile("<key>k</key><string>old</string><key>n</key><true/>");
const std::string kDamaged = "not a property list";
const Case kCases[] = {
    {"ChangesOfASoundFile", Fault::kChange, kSound},
    {"ChangesOfADamagedFile", Fault::kChange, kDamaged},
    {"ChangesWithoutAFile", Fault::kChange, ""},
    {"ChangesFromThereOn", Fault::kChangesFromThere, kSound},
    {"ReadsOfASoundFile", Fault::kRead, kSound},
    {"FolderThatVanishes", Fault::kVanish, kSound},
};

class PreferencesFault : public testing::TestWithParam<Case> {};

TEST_P(PreferencesFault, InAnyCallLeavesTheOldFileOrTheNewOne) {
    if (!canMakeFaults())
        GTEST_SKIP() << "this system does not let a process trace its child";
    const Case& test = GetParam();
    bool met = true;
    int refused = 0;
    for (int number = 1; met; ++number) {
        SCOPED_TRACE(number);
        const TempHome home;
        if (!test.content.empty())
            WriteFile(PathOf(), test.content);
        const FaultyRun run = runWithFault(
            test.fault, number, [] { return Save("k", Value("new").Get()) ? 0 : 1; },
            home.ConfigHome() + "/velnor");
        met = run.met;
        refused += run.status == 1;
        ASSERT_TRUE(run.status == 0 || (run.status == 1 && met)) << run.status;
        const bool isNew = Search("k") == "new";
        if (test.fault != Fault::kVanish) {
            ASSERT_TRUE(isNew || (run.status == 1 && ReadFile(PathOf()) == test.content));
            ASSERT_EQ(static_cast<bool>(Load("n")), test.content == kSound);
        }
        ASSERT_TRUE(!isNew || test.content != kDamaged ||
                    ReadFile(PathOf() + ".damaged") == kDamaged);
        ASSERT_FALSE(
            std::filesystem::exists(home.ConfigHome() + "/velnor/.velnor-preferences.new"));
        ASSERT_TRUE(Save("after", Value("x").Get())) << "a lock is left";
    }
    EXPECT_GT(refused, 2);
}

INSTANTIATE_TEST_SUITE_P(Faults, PreferencesFault, testing::ValuesIn(kCases),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace velnor::test
