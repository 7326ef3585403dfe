#include "platform/Process.h"
#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <dlfcn.h>
#include <memory>

namespace velnor::testing {
namespace {

TEST(BringUp, EachFailureTellsTheUserOnceAndLeavesASilentInstrument) {
    using Setting = std::optional<std::string>;
    const std::string bundles = VELNOR_BUNDLE_DIR "/";
    const std::string noBundle = "Can't load engine bundle from : ";
    const std::string noFunction = "CFBundleGetFunctionPointerForName failed for ormoOpcode";
    const std::string tooLong(512, 'd');
    // The last column is part of what the loader says.
    for (const auto& [dataDir, enginePath, error, alert, loader] :
         Rows<Setting, Setting, std::string, std::string, const char*>{
             {{}, {}, "Can't get base_dir from configuration", "find data installation", ""},
             {tooLong, "/x", "base_dir from configuration is too long : 512 bytes",
              "find data installation", ""},
             {"/d", {}, "Can't get path from configuration", "find engine installation", ""},
             {"/d", "/Absent.engine", noBundle + "/Absent.engine", "find engine file", ""},
             {"/d", "", noBundle, "find engine file", ""},
             {"/d", bundles + "NotABundle.engine", noBundle + bundles + "NotABundle.engine",
              "find engine file", ""},
             {"/d", bundles + "NoEntryPoint.engine", noFunction, "connect to engine", "ormoOpcode"},
             {"/d", bundles + "NotLoadable.engine", noFunction, "connect to engine",
              "NotLoadable"}}) {
        SCOPED_TRACE(error);
        TestHost host;
        host.setDataDir(dataDir);
        host.setEnginePath(enginePath);
        Texts logged;
        host.alerts.WhenShown([&] { logged = host.log(); });
        Instrument instrument;
        ASSERT_EQ(host.alerts.Alerts().size(), 1U);
        EXPECT_THAT(logged, Contains("E:" + error)) << "before the alert, which may take long";
        const AlertRecorder::Alert& shown = host.alerts.Alerts().front();
        EXPECT_EQ(shown.level, 0);
        EXPECT_EQ(shown.header, "Tavo Tarn 12");
        EXPECT_EQ(shown.message, "Cannot " + alert + ", please re-install");
        EXPECT_THAT(host.log(), AllOf(Contains("E:" + error), Contains(StartsWith("E:")).Times(1)));
        EXPECT_THAT(host.log(), Contains(AllOf(StartsWith("I:engine loader : "), HasSubstr(loader)))
                                    .Times(*loader != '\0' ? 1 : 0));

        OrmoEngineHandle handle = 1;
        UInt32 value = 7;
        CFPropertyListRef state = nullptr;
        EXPECT_EQ(instrument.get(kPropertyEngineHandle, handle), noErr);
        EXPECT_EQ(handle, 0U);
        EXPECT_EQ(instrument.initialize(), noErr);
        EXPECT_EQ(instrument.sendMidi(0x90, 60, 100, 0), noErr);
        const Instrument::Audio audio = instrument.pullNext();
        EXPECT_EQ(audio.status, noErr);
        EXPECT_THAT(audio.channels, Each(Each(0.0F)));
        EXPECT_EQ(AudioUnitReset(instrument.unit(), kAudioUnitScope_Global, 0), noErr);
        EXPECT_EQ(instrument.setOffline(1), noErr);
        EXPECT_EQ(instrument.setFormat(0, 2, 48000.0), noErr);
        EXPECT_EQ(instrument.get(70000, value), kAudioUnitErr_Uninitialized);
        EXPECT_EQ(instrument.set(70000, value), kAudioUnitErr_Uninitialized);
        EXPECT_EQ(instrument.get(kAudioUnitProperty_ClassInfo, state), noErr);
        EXPECT_EQ(instrument.set(kAudioUnitProperty_ClassInfo, state), noErr);
        CFRelease(state);
        EXPECT_EQ(instrument.uninitialize(), noErr);
        EXPECT_THAT(host.log(), Not(Contains(HasSubstr("vendor specific"))));
        instrument.close();
        EXPECT_THAT(takeCalls(), IsEmpty()) << "the probe may be installed, and hears nothing";
    }
}

TEST(BringUp, AnInstallationForAllUsersIsFound) {
    TestHost host;
    std::filesystem::rename(host.home.ConfigHome() + "/velnor", host.home.ConfigDirs() + "/velnor");
    Instrument instrument;
    EXPECT_EQ(instrument.initialize(), noErr);
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[1], "/data");
}

TEST(BringUp, AnEngineThatLeavesTheHandleZeroIsAskedAgainAtEachInitialize) {
    TestHost host;
    Instrument instrument;
    freshProbe().behaviour.leaveHandleZero = true;
    EXPECT_EQ(instrument.initialize(), noErr);
    EXPECT_THAT(takeCalls(), ElementsAre("9 0 ptr ptr 0 0 0 0 0"));
    UInt32 value = 0;
    EXPECT_EQ(instrument.get(70000, value), kAudioUnitErr_Uninitialized);
    EXPECT_EQ(instrument.uninitialize(), noErr);
    EXPECT_THAT(takeCalls(), IsEmpty());
    freshProbe();
    EXPECT_EQ(instrument.initialize(), noErr);
    EXPECT_THAT(takeCalls(), ElementsAre("9 0 ptr ptr 0 0 0 0 0", "11 E 0 0 0 44100 1156 0 0",
                                         "13 E 0 0 0 0 0 0 0"));
    instrument.close();
    EXPECT_THAT(takeCalls(), ElementsAre("12 E 0 0 0 0 0 0 0", "10 E 0 0 0 0 0 0 0"));
}

TEST(BringUp, OnlyTheVersion1025TurnsTheCompatibilitySlotsOn) {
    for (const std::string version : {"1025", "1026", "1.025", "1025.0", "1025 ", "", "01025",
                                      "1025 with a text as long as the buffer is"}) {
        SCOPED_TRACE(version);
        TestHost host;
        freshProbe().behaviour.version = version;
        Instrument instrument;
        const bool compat = version == "1025";
        EXPECT_THAT(host.log(),
                    Contains("I:fetched OrmoVersion:" + version.substr(0, kOrmoVersionTextSize)));
        EXPECT_THAT(host.log(),
                    Contains("I:Turned on Ormo 1.025 compatibility slots").Times(compat ? 1 : 0));
        instrument.initialize();
        for (const UInt32 status : {0x95U, 0xF8U}) {
            instrument.sendMidi(status, 60, 100, 0);
        }
        instrument.pullNext();
        EngineOpenBlock block = {};
        std::memcpy(&block, callsOf(kOpOpenInstance).at(0).bytes[0].data(), sizeof block);
        EXPECT_EQ(block.reserved, 0U);
        EXPECT_EQ(block.channelCount, 2U);
        EXPECT_EQ(block.compatSlots, compat ? 1U : 0U);
        const std::vector<MIDIEvent> events = eventsOf(callsOf(kOpProcess).at(0));
        EXPECT_EQ(events.at(0).data[0], compat ? 0x90 : 0x95);
        EXPECT_EQ(events.at(1).data[0], compat ? 0xF0 : 0xF8);
    }
}

TEST(BringUp, OpenBlockAndDataDirectoryStayUnchangedForTheInstrumentsLife) {
    TestHost host;
    const std::string longest = "/" + std::string(510, 'd');
    host.setDataDir(longest);
    Instrument instrument;
    instrument.initialize();
    const probe::Call open = callsOf(kOpOpenInstance).at(0);
    EXPECT_EQ(open.bytes[1], longest);
    const auto* block = reinterpret_cast<const EngineOpenBlock*>(open.words[2]);
    instrument.pullNext();
    instrument.uninitialize();
    instrument.initialize();
    EXPECT_EQ(std::memcmp(block, open.bytes[0].data(), sizeof *block), 0);
    EXPECT_EQ(block->dataDir, longest);
    std::array<char, 1024> setupPath;
    setupPath.fill('x');
    EXPECT_EQ(instrument.get(kPropertySetupPath, setupPath), noErr);
    EXPECT_EQ(setupPath.data(), longest + "/OrmoSetup.xml");
}

TEST(BringUp, TheLogIsNamedAfterTheHostUpToItsLastDot) {
    for (const auto& [process, file] :
         Rows<const char*, const char*>{{"Studio 2.5", "Tarn 12AU_Studio 2.log"},
                                        {"/Applications/Host.app", "Tarn 12AU_Host.log"}}) {
        TestHost host;
        PlatformSetProcessName(process);
        Instrument instrument;
        EXPECT_THAT(host.log(file), Contains("I:fetched OrmoVersion:1026")) << process;
    }
    TestHost host;
    PlatformSetProcessName("");
    Instrument nameless;
    PlatformSetProcessName("Host");
    Instrument second;
    EXPECT_THAT(host.log(), IsEmpty());
}

TEST(BringUp, SixtyFourInstrumentsShareOneLogOneRegistrationAndOneEngineAndLeaveNothing) {
    TestHost host;
    {
        Instrument warmUp;
    } // the engine's bundle then stays for good
    const CFIndex objects = PlatformLiveObjectCount();
    std::array<std::unique_ptr<Instrument>, 64> instruments;
    freshProbe();
    for (auto& instrument : instruments) {
        instrument = std::make_unique<Instrument>();
        ASSERT_EQ(instrument->initialize(), noErr);
    }
    EXPECT_EQ(freshProbe().openInstances(), 64U);
    EXPECT_THAT(host.log(), Contains("I:fetched OrmoVersion:1026").Times(64));
    for (auto& instrument : instruments) {
        EXPECT_EQ(instrument->pullNext().channels[1][3], probe::patternSample(1, 3));
    }
    for (std::size_t i = 0; i < 64; ++i) { // neither in order nor in reverse
        EXPECT_FALSE(ReadFile(host.logPath()).ends_with("@"));
        instruments[(i * 7) % 64].reset();
    }
    EXPECT_EQ(callsOf(kOpCloseInstance).size(), 64U);
    EXPECT_EQ(freshProbe().openInstances(), 0U);
    EXPECT_TRUE(ReadFile(host.logPath()).ends_with("@"));
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
    EXPECT_THAT(host.alerts.Alerts(), IsEmpty());
    EXPECT_THAT(ReadFile(host.home.ConfigHome() + "/velnor/com.Tavo.Tarn 12.plist"),
                AllOf(HasSubstr("<key>000</key>"), Not(HasSubstr("<key>001</key>"))));
}

// The bundle is given back before the engine is told to close: only the reference that is never
// given back keeps the code there.
TEST(BringUp, TheEnginesCodeOutlivesEveryInstrument) {
    TestHost host;
    const std::string bundle = host.home.Root() + "/Probe.engine";
    std::filesystem::copy(builtBundle("Probe.engine"), bundle,
                          std::filesystem::copy_options::recursive);
    host.setEnginePath(bundle);
    {
        Instrument instrument;
        instrument.initialize();
    }
    probe::Probe& probe = *probeOf(bundle, RTLD_NOW | RTLD_NOLOAD);
    EXPECT_EQ(probe.openInstances(), 0U);
    EXPECT_EQ(probe.calls().back().opcode(), kOpCloseInstance);
}

} // namespace
} // namespace velnor::testing
