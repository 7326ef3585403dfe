#include "host/tests/HostProgram.h"
#include "platform/tests/Testing.h"

#include <sys/stat.h>

namespace velnor::test {
namespace {

TEST(Install, IsUndoneByUninstallAndRepeatedAsAnUpdate) {
    HostProgram program;
    const std::string components = program.home.DataHome() + "/velnor/Components";
    ASSERT_EQ(program.install("Odd").status, 0);
    ASSERT_EQ(program.install("Probe").status, 0);
    EXPECT_THAT(program.run({"components"}).out, HasSubstr("Tarn 12"));
    EXPECT_THAT(ReadFile(program.home.ConfigHome() + "/velnor/com.velnor.ormo.plist"),
                HasSubstr("Engines/Probe.engine"));
    EXPECT_EQ(program.run({"uninstall"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(components + "/Velnor.component"));
    EXPECT_TRUE(std::filesystem::is_empty(program.home.DataHome() + "/velnor/Engines"));
    EXPECT_THAT(ReadFile(program.home.ConfigHome() + "/velnor/com.Tavo.Tarn 12.plist"),
                Not(HasSubstr("base_dir")));
    EXPECT_EQ(program.run({"uninstall"}).status, 1);
}

TEST(Install, ChecksEverythingBeforeItChangesAnything) {
    HostProgram program;
    const std::string bundles = VELNOR_BUNDLE_DIR;
    const std::string component = bundles + "/Velnor.component";
    const std::string odd = bundles + "/Odd.engine";
    const std::string data = program.path("data");
    for (const auto& [bundle, engine, folder, says] :
         Rows<std::string, std::string, std::string, const char*>{
             {program.path("none"), odd, data, "not a bundle"},
             {odd, odd, data, "no product record"},
             {component, bundles + "/NoEntryPoint.engine", data, "does not load"},
             {component, bundles + "/NoExecutable.engine", data, "does not load"},
             {component, odd, program.path("nowhere"), "not a folder"},
             {component, odd, program.path("dat\xFF"), "not UTF-8"},
             {component, odd, "/proc", "/proc/OrmoSetup"}}) {
        const Outcome outcome =
            program.run({"install", bundle, "--engine", engine, "--data", folder, "--write-setup"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.error, HasSubstr(says));
    }
    EXPECT_FALSE(std::filesystem::exists(program.home.DataHome() + "/velnor"));
    EXPECT_FALSE(std::filesystem::exists(program.home.ConfigHome()));
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string copy = program.path("Copy.component");
    std::filesystem::copy(component, copy, std::filesystem::copy_options::recursive);
    EXPECT_THAT(program.run({"install", copy, "--engine", odd, "--data", data}).error,
                HasSubstr("/Velnor.component has the same codes, subtype QXTA"));
}

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
             {"/velnor/com.velnor.ormo.plist", "cannot be parsed", false}}) {
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

TEST(Info, IsTheSameInBothForms) {
    HostProgram program;
    ASSERT_EQ(program.install("Probe").status, 0);
    const std::string table = program.run({"info", "QXTA"}).out;
    const std::string json = program.run({"info", "tavo: tarn 12", "--json"}).out;
    for (const char* part : {"64001", "engine setup path", "65536", "Tavo: Tarn 12", "1.0.3"}) {
        EXPECT_THAT(table, HasSubstr(part));
        EXPECT_THAT(json, HasSubstr(part));
    }
    EXPECT_THAT(program.run({"components", "--json"}).out, HasSubstr("\"subtype\": \"QXTA\""));
}

TEST(Preset, DifferencesAreShownAndForeignPresetsRefused) {
    HostProgram program;
    ASSERT_EQ(program.install("SoundFont").status, 0);
    const std::string plain = program.path("plain");
    const std::string organ = program.path("organ");
    ASSERT_EQ(program.run({"preset", "save", plain}).status, 0);
    ASSERT_EQ(program
                  .run({"render", program.song(songOf({60})), "-o", program.path("o.wav"),
                        "--save-preset", organ})
                  .status,
              0);
    EXPECT_THAT(program.run({"preset", "show", plain}).out, HasSubstr("subtype = "));
    const Outcome diff = program.run({"preset", "diff", plain, organ});
    EXPECT_EQ(diff.status, 1);
    EXPECT_THAT(diff.out, AllOf(HasSubstr("- OrmoData"), HasSubstr("+ OrmoData")));
    std::string foreign = ReadFile(plain);
    const std::string code = "1364743233";
    ASSERT_THAT(foreign, HasSubstr(code));
    foreign.replace(foreign.find(code), code.size(), "1364743234");
    const Outcome refused = program.run(
        {"preset", "save", "-", "--preset", WriteFile(program.path("foreign"), foreign)});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, HasSubstr("belongs to another instrument"));
}

} // namespace
} // namespace velnor::test
