#include "host/tests/HostProgram.h"
#include "testing/Testing.h"

#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace velnor::testing {
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
    // What looks like a record's beginning just before it hides no record.
    const std::string record = program.path("Record"), magic = "\x78\x56\x34\x12";
    WriteFile(record + "/Contents/Info.plist", ReadFile(component + "/Contents/Info.plist"));
    WriteFile(record + "/Contents/" VELNOR_PLATFORM_FOLDER "/Velnor",
              magic + magic + std::string(60, '\0') + "V" + std::string(63, '\0') + "P" +
                  std::string(123, '\0') + "\x21\x43\x65\x87");
    for (const auto& [bundle, engine, folder, says] :
         Rows<std::string, std::string, std::string, const char*>{
             {record, odd, data, "ends in .component"},
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

TEST(Install, UninstallRemovesWhatWasCopiedAndNothingElse) {
    HostProgram program;
    const std::string velnor = program.home.DataHome() + "/velnor";
    const std::string engines = program.home.ConfigHome() + "/velnor/com.velnor.ormo.plist";
    const std::string kept =
        WriteFile(program.home.Home() + "/Mine.engine/Contents/Info.plist", "");
    const std::string home = "../../../../..";
    const auto hostile = [&](const std::string& line) {
        const std::string receipt = velnor + "/Receipts/Engines/Odd.engine";
        WriteFile(receipt, ReadFile(receipt) + line + "\n");
    };
    for (const auto& [prepare, status] : Rows<std::function<void()>, int>{
             {[&] {
                  std::string text = ReadFile(engines);
                  text.replace(text.find("/Odd.engine"), 11, "/..");
                  WriteFile(engines, text);
              },
              0},
             {[&] {
                  std::filesystem::remove_all(velnor + "/Engines");
                  std::filesystem::create_directory_symlink(program.home.Home(),
                                                            velnor + "/Engines");
                  WriteFile(program.home.Home() + "/Odd.engine/Contents/Info.plist", "mine");
              },
              1},
             {[&] { hostile("f " + home + "/Mine.engine/Contents/Info.plist"); }, 1},
             {[&] { hostile("f " + kept); }, 1},
             {[&] {
                  std::filesystem::create_directory_symlink(program.home.Home(),
                                                            velnor + "/Engines/Odd.engine/home");
                  hostile("f home/Mine.engine/Contents/Info.plist");
              },
              0},
             {[&] { WriteFile(velnor + "/Engines/Odd.engine/Contents/own", "mine"); }, 0},
             {[&] { std::filesystem::remove_all(velnor + "/Receipts"); }, 1}}) {
        std::filesystem::remove_all(velnor);
        ASSERT_EQ(program.install("Odd").status, 0);
        prepare();
        EXPECT_EQ(program.run({"uninstall"}).status, status);
        EXPECT_TRUE(std::filesystem::exists(kept));
        EXPECT_TRUE(std::filesystem::exists(program.path("data/font.sf2")));
    }
    EXPECT_EQ(ReadFile(program.home.Home() + "/Odd.engine/Contents/Info.plist"), "mine");
    EXPECT_TRUE(
        std::filesystem::exists(velnor + "/Components/Velnor.component/Contents/Info.plist"));
}

TEST(Install, LinksThatLeadOutOfABundleOrNowhereAreRefusedAndNamed) {
    HostProgram program;
    const std::string bundle = program.path("Linked.component");
    std::filesystem::copy(VELNOR_BUNDLE_DIR "/Velnor.component", bundle,
                          std::filesystem::copy_options::recursive);
    std::filesystem::create_symlink("Info.plist", bundle + "/Contents/inside");
    std::filesystem::create_symlink("../Contents/./inside", bundle + "/Contents/chain");
    const auto install = [&] {
        return program.run({"install", bundle, "--engine", VELNOR_BUNDLE_DIR "/Odd.engine",
                            "--data", program.path("data")});
    };
    for (const auto& [target, leads] :
         Rows<const char*, std::string>{{"/etc/passwd", "out of the bundle"},
                                        {"../../data", "out of the bundle"},
                                        {"up/../..", "out of the bundle"},
                                        {"../../Linked.component", "out of the bundle"},
                                        {"out", "to nowhere"},
                                        {"nothing", "to nowhere"},
                                        {"nothing/../Info.plist", "to nowhere"},
                                        {"Info.plist/../Info.plist", "to nowhere"}}) {
        const std::string link = bundle + "/Contents/out";
        std::filesystem::create_symlink("..", bundle + "/Contents/up");
        std::filesystem::create_symlink(target, link);
        const Outcome outcome = install();
        EXPECT_EQ(outcome.status, 1) << target;
        EXPECT_THAT(outcome.error, HasSubstr("Contents/out: a link " + leads + ", to " + target));
        EXPECT_FALSE(std::filesystem::exists(program.home.DataHome() + "/velnor"));
        std::filesystem::remove(link);
        std::filesystem::remove(bundle + "/Contents/up");
    }
    EXPECT_EQ(install().status, 0);
    EXPECT_EQ(std::filesystem::read_symlink(program.home.DataHome() +
                                            "/velnor/Components/Linked.component/Contents/chain"),
              "../Contents/./inside");
    EXPECT_EQ(program.run({"uninstall"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_empty(program.home.DataHome() + "/velnor/Components"));
}

TEST(Install, OfASecondProductSaysWhoseEngineChangesAndUninstallAsksWhich) {
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string copy = program.path("Copy.component");
    std::filesystem::copy(VELNOR_BUNDLE_DIR "/Velnor.component", copy,
                          std::filesystem::copy_options::recursive);
    const Outcome second =
        program.run({"install", copy, "--engine", VELNOR_BUNDLE_DIR "/Probe.engine", "--data",
                     program.path("data")});
    EXPECT_EQ(second.status, 0);
    EXPECT_THAT(second.error, AllOf(HasSubstr("that of Tavo Tarn 12 changes, too, from "),
                                    HasSubstr("/Odd.engine to "), HasSubstr("/Probe.engine\n")));
    const Outcome either = program.run({"uninstall"});
    EXPECT_EQ(either.status, 2);
    EXPECT_THAT(either.error, HasSubstr("name one: Copy.component, Velnor.component"));
    EXPECT_EQ(program.run({"uninstall", "Velnor.component"}).status, 0);
    EXPECT_THAT(ReadFile(program.home.ConfigHome() + "/velnor/com.Tavo.Tarn 12.plist"),
                HasSubstr("base_dir"));
    EXPECT_EQ(program.run({"uninstall"}).status, 0);
    EXPECT_TRUE(std::filesystem::is_empty(program.home.DataHome() + "/velnor/Engines"));
}

TEST(FormatsDocument, TheReceiptIsTheFileThatInstallLeaves) {
    HostProgram program;
    const std::string component = program.path("Velnor.component");
    const std::string contents = "/Contents/" VELNOR_PLATFORM_FOLDER;
    std::filesystem::create_directories(component + contents);
    for (const std::string& file : {std::string("/Contents/Info.plist"), contents + "/Velnor"}) {
        std::filesystem::copy(VELNOR_BUNDLE_DIR "/Velnor.component" + file, component + file);
    }
    ASSERT_EQ(program.install("Odd", component).status, 0);
    std::string receipt =
        ReadFile(program.home.DataHome() + "/velnor/Receipts/Components/Velnor.component");
    for (const auto& [own, shown] :
         Rows<std::string, std::string>{{program.home.DataHome(), "/home/ada/.local/share"},
                                        {program.path("data"), "/home/ada/sounds"},
                                        {VELNOR_PLATFORM_FOLDER, "x86_64-linux"}}) {
        for (std::size_t at = 0; (at = receipt.find(own, at)) != receipt.npos; at += shown.size()) {
            receipt.replace(at, own.size(), shown);
        }
    }
    EXPECT_THAT(ReadFile(VELNOR_SOURCE_DIR "/docs/formats.md"),
                HasSubstr("\n```receipt\n" + receipt + "```\n"));
}

TEST(Info, NamesTheEditorOfTheSameBundleAlthoughAllProductsShareItsCodes) {
    HostProgram program;
    const std::string copy = program.path("Copy.component");
    std::filesystem::copy(VELNOR_BUNDLE_DIR "/Velnor.component", copy,
                          std::filesystem::copy_options::recursive);
    std::string info = ReadFile(copy + "/Contents/Info.plist");
    info.replace(info.find("QXTA"), 4, "QXTB");
    WriteFile(copy + "/Contents/Info.plist", info);
    ASSERT_EQ(program.install("Probe").status, 0);
    ASSERT_EQ(program
                  .run({"install", copy, "--engine", VELNOR_BUNDLE_DIR "/Probe.engine", "--data",
                        program.path("data")})
                  .status,
              0);
    for (const auto& [code, own, other] : {std::tuple{"QXTA", "Velnor.component", "Copy.component"},
                                           {"QXTB", "Copy.component", "Velnor.component"}}) {
        EXPECT_THAT(program.run({"info", code, "--json"}).out,
                    AllOf(HasSubstr(own), HasSubstr("\"ATXQ\""), Not(HasSubstr(other))));
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

TEST(Preset, TextsOfAFileCannotCommandATerminalAndReachAPipeAsTheyAre) {
    HostProgram program;
    const std::string text = "x\u009B2J\u202Ey";
    const std::string preset =
        WriteFile(program.path("preset"), "<plist version=\"1.0\"><dict><key>name</key><string>" +
                                              text + "</string></dict></plist>");
    EXPECT_EQ(program.run({"preset", "show", preset}).out, "name = \"" + text + "\"\n");
    EXPECT_EQ(program.runAtTerminal({"preset", "show", preset}, 80).out, "name = \"x?2J?y\"\r\n");
    EXPECT_EQ(program.runAtTerminal({"doctor", "no\u009Bbody"}, 80).out.find("\u009B"),
              std::string::npos);
    EXPECT_THAT(program.runAtTerminal({"info", "\x1B[2J.component"}, 80).out,
                HasSubstr("?[2J.component: there is no bundle"));
}

TEST(Install, ShownPathsNamesAndPlacesMayBeAnything) {
    HostProgram program;
    const std::string strange = "A&<\"Co";
    ASSERT_EQ(program.install("Odd", program.patchedComponent(64, strange + '\0')).status, 0);
    EXPECT_THAT(program.run({"doctor"}).out, HasSubstr("setup file: " + program.path("data")));
    EXPECT_THAT(program.run({"doctor"}).out, Not(HasSubstr("OrmoSetup.xml: ")));
    WriteFile(program.path("data/OrmoSetup.xml"),
              "<OrmoSetup><Property name=\"product\" value=\"Other\"/></OrmoSetup>");
    EXPECT_THAT(program.run({"doctor"}).out, HasSubstr("incorrect product in file Other"));
    // Again, from where it lies.
    const std::string velnor = program.home.DataHome() + "/velnor/";
    EXPECT_EQ(program
                  .run({"install", velnor + "Components/Velnor.component", "--engine",
                        velnor + "Engines/Odd.engine", "--data", program.path("data")})
                  .status,
              0);
    EXPECT_EQ(program.run({"doctor"}).status, 0);
    for (const std::size_t size : {511U, 512U}) {
        std::string data = program.path("");
        while (data.size() + 200 < size) {
            data += std::string(99, 'd') + "/";
        }
        data += std::string(size - data.size(), 'e');
        std::filesystem::create_directories(data);
        const Outcome outcome =
            program.run({"install", velnor + "Components/Velnor.component", "--engine",
                         velnor + "Engines/Odd.engine", "--data", data});
        EXPECT_EQ(outcome.status, size == 511 ? 0 : 1) << outcome.error;
    }
}

TEST(Info, OnANewAccountTheInstrumentFindsAPlaceForItsLog) {
    HostProgram program;
    std::filesystem::remove_all(program.home.DataHome());
    EXPECT_EQ(program.run({"info", VELNOR_BUNDLE_DIR "/Velnor.component"}).status, 0);
    EXPECT_FALSE(std::filesystem::is_empty(program.home.DataHome() + "/Tavo/Tarn 12"));
}

TEST(Streams, ThatAreFullClosedOrBrokenAreOneLineAndStatus1) {
    HostProgram program;
    ASSERT_EQ(program.install("Odd").status, 0);
    const std::string song = program.song(songOf({60}));
    const Texts render = {"render", song, "-o", "-", "--format", "raw"};
    const std::filesystem::path temporary = program.path("tmp");
    std::filesystem::create_directory(temporary);
    const ScopedEnv variable("TMPDIR", temporary.c_str());
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    for (const auto& [words, output, closed, says] : Rows<Texts, int, int, const char*>{
             {{"components"}, full, -1, "standard output: No space left"},
             {render, full, -1, "standard output: No space left"},
             {render, ends[1], -1, "standard output: Broken pipe"},
             {render, -1, STDOUT_FILENO, "standard output: Bad file"},
             {{"render", "-", "-o", program.path("stdin")}, -1, -1, "overwritten"}}) {
        const Outcome outcome = program.run(words, ReadFile(song), output, closed);
        EXPECT_EQ(outcome.status, words.back().ends_with("stdin") ? 2 : 1);
        EXPECT_THAT(outcome.error, AllOf(HasSubstr(says), Contains('\n').Times(1)));
    }
    close(ends[1]);
    close(full);
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
    const std::string out = program.path("out.raw");
    std::set<std::string> files;
    for (const int closed : {-1, STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_EQ(program.run({"render", song, "-o", out}, "", -1, closed).status, 0);
        files.insert(ReadFile(out));
    }
    EXPECT_EQ(files.size(), 1U);
    const std::string logs = program.home.DataHome() + "/Tavo/Tarn 12";
    for (const auto& log : std::filesystem::recursive_directory_iterator(logs)) {
        EXPECT_TRUE(log.is_directory() ||
                    ReadFile(log.path()).find(" long, peak") == std::string::npos);
    }
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
    // A bend alone differs far behind the first bytes of the data.
    const std::string bent = program.path("bent");
    const std::string same = program.path("same");
    ASSERT_EQ(program
                  .run({"render", program.song(midiFile({"00E20550 00FF2F00"})), "-o",
                        program.path("o.wav"), "--save-preset", bent})
                  .status,
              0);
    EXPECT_EQ(program.run({"preset", "diff", plain, bent}).status, 1);
    ASSERT_EQ(program.run({"preset", "save", same, "--preset", bent}).status, 0);
    EXPECT_EQ(program.run({"preset", "diff", same, bent}).status, 0);
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
} // namespace velnor::testing
