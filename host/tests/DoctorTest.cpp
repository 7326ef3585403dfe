#include "host/tests/HostProgram.h"
#include "testing/Testing.h"

#include <filesystem>
#include <sys/stat.h>

namespace velnor::testing {
namespace {

TEST(Doctor, NamesWhatIsMissingInItsLastSentence) {
    HostProgram program;
    EXPECT_EQ(program.run({"doctor"}).status, 1);
    ASSERT_EQ(program.install("SoundFont").status, 0);
    const Outcome healthy = program.run({"doctor"});
    EXPECT_EQ(healthy.status, 0) << healthy.out;
    EXPECT_TRUE(healthy.out.ends_with("Tavo Tarn 12 is ready to play.\n")) << healthy.out;
    const std::string setup = program.path("data/OrmoSetup.xml");
    std::filesystem::remove(setup);
    ASSERT_EQ(mkfifo(setup.c_str(), 0600), 0);
    EXPECT_THAT(program.run({"doctor"}).out, HasSubstr("no regular file"));
    std::filesystem::remove(program.path("data/font.sf2"));
    const Outcome soundless = program.run({"doctor"});
    EXPECT_EQ(soundless.status, 1);
    EXPECT_THAT(soundless.out, HasSubstr("refuses to open"));
    std::filesystem::remove_all(program.home.DataHome() + "/velnor/Engines");
    const Outcome engineless = program.run({"doctor"});
    EXPECT_EQ(engineless.status, 1);
    EXPECT_THAT(engineless.out, HasSubstr("the engine is gone"));
    const Outcome render =
        program.run({"render", program.song(songOf({60})), "-o", program.path("o.wav")});
    EXPECT_EQ(render.status, 1);
    EXPECT_THAT(render.error, HasSubstr("velnor-host doctor"));
}

TEST(Doctor, EndsWithItsSentenceWhateverIsDamagedAndUninstallRemovesIt) {
    for (const auto& [file, says, ofComponent] : Rows<std::string, const char*, bool>{
             {"/velnor/Components/Velnor.component/Contents/Info.plist", "no components", true},
             {"/velnor/Components/Velnor.component/Contents/" VELNOR_PLATFORM_FOLDER "/Velnor",
              "the component is damaged", true},
             {"/velnor/com.velnor.ormo.plist", "ormo.plist are damaged; install it", false}}) {
        HostProgram program;
        ASSERT_EQ(program.install("Odd").status, 0);
        WriteFile((ofComponent ? program.home.DataHome() : program.home.ConfigHome()) + file,
                  "junk");
        const Outcome outcome = program.run({"doctor"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.out, AllOf(HasSubstr(says), HasSubstr(" will not play: ")));
        EXPECT_EQ(program.run({"uninstall"}).status, 0);
        EXPECT_TRUE(std::filesystem::is_empty(program.home.DataHome() + "/velnor/Components"));
    }
}

TEST(Doctor, TellsOfPreferencesThatOnlyOthersReadAndNothingTouchesThem) {
    for (const char* file : {"/velnor/com.velnor.ormo.plist", "/velnor/com.Tavo.Tarn 12.plist"}) {
        HostProgram program;
        const std::string path = program.home.ConfigHome() + file;
        const std::string content = "{ path = old; }";
        WriteFile(path, content);
        const Outcome install = program.install("Odd");
        EXPECT_EQ(install.status, 1);
        EXPECT_THAT(install.error, HasSubstr(path + ": it is a property list that only"));
        EXPECT_FALSE(std::filesystem::exists(program.home.DataHome() + "/velnor"));
        std::filesystem::remove(path);
        ASSERT_EQ(program.install("Odd").status, 0);
        WriteFile(path, content);
        const Outcome doctor = program.run({"doctor"});
        EXPECT_EQ(doctor.status, 1);
        EXPECT_THAT(doctor.out,
                    AllOf(HasSubstr("!!  " + path + ": it is a property list that only"),
                          HasSubstr("will not play: the preferences in " + path + " can be read")));
        const Outcome uninstall = program.run({"uninstall"});
        EXPECT_EQ(uninstall.status, 0);
        EXPECT_THAT(uninstall.error, HasSubstr(path + ": it is a property list that only"));
        EXPECT_EQ(ReadFile(path), content);
        std::filesystem::remove(path);
        EXPECT_EQ(program.install("Odd").status, 0);
        EXPECT_EQ(program.run({"doctor"}).status, 0);
    }
}

TEST(Doctor, TellsOfASetupFileThatNestsTooDeep) {
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
    std::string deep;
    for (int i = 0; i < 1000000; ++i) {
        deep += "<a>";
    }
    WriteFile(program.path("data/OrmoSetup.xml"), deep);
    EXPECT_THAT(program.run({"doctor"}).out,
                AllOf(HasSubstr("OrmoSetup.xml: Could not load file\n"),
                      HasSubstr("Tavo Tarn 12 is ready to play.\n")));
}

TEST(Doctor, ShowsTheLastLinesOfTheYoungestLog) {
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string folder = program.home.DataHome() + "/Tavo/Tarn 12/";
    const auto now = std::filesystem::file_time_type::clock::now();
    for (const auto& [name, hours] :
         Rows<std::string, int>{{"a.log", -1}, {"b.log", 1}, {"c.log", 0}}) {
        std::string lines;
        for (int i = 1; i <= 20; ++i) {
            lines += name + " line " + std::to_string(i) + "\n";
        }
        WriteFile(folder + name, lines);
        std::filesystem::last_write_time(folder + name, now + std::chrono::hours(hours));
    }
    EXPECT_THAT(program.run({"doctor"}).out,
                AllOf(HasSubstr("b.log line 20\n"), HasSubstr("b.log line 13\n"),
                      Not(HasSubstr("b.log line 12\n")), Not(HasSubstr("a.log line"))));
}

} // namespace
} // namespace velnor::testing
