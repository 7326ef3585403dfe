#include "host/tests/HostProgram.h"
#include "testing/Testing.h"

#include <filesystem>

namespace velnor::testing {
namespace {

namespace fs = std::filesystem;

TEST(Install, AnUpdateDeletesNothingThatInstallDidNotCopy) {
    HostProgram program;
    const std::string velnor = program.home.DataHome() + "/velnor";
    const std::string contents = velnor + "/Components/Velnor.component/Contents";
    const std::string engines = program.home.ConfigHome() + "/velnor/com.velnor.ormo.plist";
    ASSERT_EQ(program.install("Odd").status, 0);
    WriteFile(contents + "/my sounds/kept", "mine");
    const Outcome refused = program.install("Probe");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, HasSubstr(contents + "/my sounds and 1 more: install did not put"));
    EXPECT_EQ(ReadFile(contents + "/my sounds/kept"), "mine");
    EXPECT_THAT(ReadFile(engines), HasSubstr("Odd.engine"));
    EXPECT_FALSE(fs::exists(velnor + "/Engines/Probe.engine"));
    fs::remove_all(contents + "/my sounds");
    const Outcome repeated = program.install("Probe");
    EXPECT_EQ(repeated.status, 0);
    EXPECT_EQ(repeated.error, "");
    fs::remove(velnor + "/Receipts/Components/Velnor.component");
    EXPECT_THAT(program.install("Probe").error, HasSubstr("Velnor.component is replaced; install"));
}

TEST(Install, ReceiptsAreFoundWhateverHomeAndBundleAreCalled) {
    HostProgram program;
    const std::string home = program.path("joe.part-time");
    const ScopedEnv data("XDG_DATA_HOME", home.c_str());
    const std::string copy = program.path("My.part-copied.component");
    fs::create_directories(home);
    fs::copy(VELNOR_BUNDLE_DIR "/Velnor.component", copy, fs::copy_options::recursive);
    ASSERT_EQ(program.install("Odd", copy).status, 0);
    WriteFile(home + "/velnor/Receipts/Components/Killed.component.part-a1B2c3", "receipt 1\n");
    // What is gone is known by its receipt alone.
    fs::remove_all(home + "/velnor/Components/My.part-copied.component");
    EXPECT_EQ(program.run({"uninstall"}).status, 0);
    EXPECT_TRUE(fs::is_empty(home + "/velnor/Engines"));
}

TEST(Uninstall, RemovesNothingUntilItCanRemoveEverything) {
    HostProgram program;
    const std::string velnor = program.home.DataHome() + "/velnor";
    const std::string engines = program.home.ConfigHome() + "/velnor/com.velnor.ormo.plist";
    const std::string component = velnor + "/Components/Velnor.component";
    ASSERT_EQ(program.install("Odd").status, 0);
    fs::rename(velnor + "/Engines", program.path("moved"));
    fs::create_directory_symlink(program.path("moved"), velnor + "/Engines");
    const std::string receipt = velnor + "/Receipts/Engines/Odd.engine";
    const std::string text = ReadFile(receipt);
    for (const auto& [content, says] : Rows<std::string, const char*>{
             {text, "/Engines/Odd.engine: it, or the folder that it lies in"},
             {"junk", "is damaged"}}) {
        WriteFile(receipt, content);
        const Outcome outcome = program.run({"uninstall"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.error, HasSubstr(says));
        EXPECT_TRUE(fs::exists(component + "/Contents/Info.plist"));
    }
    WriteFile(receipt, text);
    fs::remove(velnor + "/Engines");
    fs::rename(program.path("moved"), velnor + "/Engines");
    fs::remove_all(component);
    EXPECT_EQ(program.run({"uninstall"}).out,
              component + " is gone already\nremoved " + velnor + "/Engines/Odd.engine\n");
    EXPECT_THAT(ReadFile(engines), Not(HasSubstr("Odd.engine")));
    EXPECT_FALSE(fs::exists(velnor + "/Receipts"));
}

TEST(Install, SetUpForAllUsersIsSeenAsTheInstrumentSeesIt) {
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string shared = program.home.ConfigDirs() + "/velnor";
    fs::rename(program.home.ConfigHome() + "/velnor", shared);
    const Outcome doctor = program.run({"doctor"});
    EXPECT_EQ(doctor.status, 0);
    EXPECT_THAT(doctor.out, AllOf(HasSubstr("    base_dir is that of this host, or of all users\n"),
                                  HasSubstr("    path is that of this host, or of all users\n"),
                                  HasSubstr("Tavo Tarn 12 is ready to play.\n")));
    EXPECT_EQ(program.run({"components"}).error, "");
    // A damaged file of the user's own hides nothing.
    WriteFile(program.home.ConfigHome() + "/velnor/com.velnor.ormo.plist", "junk");
    const Outcome damaged = program.run({"doctor"});
    EXPECT_EQ(damaged.status, 0);
    EXPECT_THAT(damaged.out, HasSubstr("com.velnor.ormo.plist: it cannot be parsed"));
    const std::string copy = program.path("Copy.component");
    fs::copy(VELNOR_BUNDLE_DIR "/Velnor.component", copy, fs::copy_options::recursive);
    EXPECT_THAT(program.install("Probe", copy).error,
                HasSubstr("that of Tavo Tarn 12 changes, too, from "));
    const std::string theirs = ReadFile(shared + "/com.velnor.ormo.plist");
    EXPECT_EQ(program.run({"uninstall", "Copy.component"}).status, 0);
    EXPECT_EQ(ReadFile(shared + "/com.velnor.ormo.plist"), theirs);
}

TEST(Brand, KeepsWhatIsNotGiven) {
    HostProgram program;
    const std::string original = program.patchedComponent(192, FromHex("01000000"));
    for (const auto& [option, multiOutput] : Rows<std::string, char>{
             {"", '\1'}, {" --no-multi-output", '\0'}, {" --multi-output", '\1'}}) {
        const std::string copy = program.path("Copy.component");
        fs::remove_all(copy);
        const std::string command = "python3 '" VELNOR_SOURCE_DIR "/scripts/brand.py' '" +
                                    original + "' '" + copy +
                                    "' --vendor Acme --product Piano --subtype AcPi" + option;
        ASSERT_EQ(std::system(command.c_str()), 0);
        const std::string file = ReadFile(copy + "/Contents/" VELNOR_PLATFORM_FOLDER "/Velnor");
        const std::string start = FromHex("7856341200000000") + "AcPi";
        int records = 0;
        for (auto at = file.find(start); at != file.npos; at = file.find(start, at + 1)) {
            EXPECT_EQ(file[at + 192], multiOutput) << option;
            EXPECT_EQ(file.substr(at + 64, 5), std::string("Acme\0", 5));
            ++records;
        }
        EXPECT_EQ(records, 2);
    }
}

} // namespace
} // namespace velnor::testing
