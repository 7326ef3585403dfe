#include "bridge/tests/TestHost.h"

#include "platform/CFBundle.h"
#include "platform/CFRef.h"
#include "platform/CFString.h"
#include "platform/Process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <dlfcn.h>
#include <memory>

namespace velnor::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> errorsIn(std::vector<std::string> log) {
    std::erase_if(log, [](const std::string& line) { return !line.starts_with("E:"); });
    return log;
}

/* What every call site does without an engine; the probe, which may be installed, hears nothing. */
void expectNoEngineBehaviour(Instrument& instrument, TestHost& host) {
    takeCalls();
    OrmoOpcodeProc proc = nullptr;
    OrmoEngineHandle handle = 1;
    UInt32 value = 7;
    EXPECT_EQ(instrument.get(kPropertyEngineOpcode, proc), noErr);
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
    CFPropertyListRef state = nullptr;
    EXPECT_EQ(instrument.get(kAudioUnitProperty_ClassInfo, state), noErr);
    EXPECT_EQ(instrument.set(kAudioUnitProperty_ClassInfo, state), noErr);
    CFRelease(state);
    EXPECT_EQ(instrument.uninitialize(), noErr);
    EXPECT_THAT(host.log(), Not(Contains(HasSubstr("vendor specific"))));
}

TEST(BringUp, EachFailureTellsTheUserOnceAndLeavesASilentInstrument) {
    struct Case {
        std::optional<std::string> dataDir, enginePath;
        std::string error;
        const char* alert;
        const char* loader; /* part of what the loader says */
    };
    const std::string bundles = VELNOR_BUNDLE_DIR "/";
    const std::string noBundle = "Can't load engine bundle from : ";
    const std::string noFunction = "CFBundleGetFunctionPointerForName failed for ormoOpcode";
    const char* const noData = "Cannot find data installation, please re-install";
    const char* const noEngine = "Cannot find engine installation, please re-install";
    const char* const noFile = "Cannot find engine file, please re-install";
    const char* const noEntry = "Cannot connect to engine, please re-install";
    const std::string tooLong(512, 'd');
    const Case cases[] = {
        {{}, {}, "Can't get base_dir from configuration", noData, nullptr},
        {tooLong, "/x", "base_dir from configuration is too long : 512 bytes", noData, nullptr},
        {"/d", {}, "Can't get path from configuration", noEngine, nullptr},
        {"/d", "/Absent.engine", noBundle + "/Absent.engine", noFile, nullptr},
        {"/d", "", noBundle, noFile, nullptr},
        {"/d", bundles + "NotABundle.engine", noBundle + bundles + "NotABundle.engine", noFile,
         nullptr},
        {"/d", bundles + "NoEntryPoint.engine", noFunction, noEntry, "ormoOpcode"},
        {"/d", bundles + "NotLoadable.engine", noFunction, noEntry, "NotLoadable"},
        {"/d", bundles + "NoExecutable.engine", noFunction, noEntry, "NoExecutable"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.error);
        TestHost host;
        host.setDataDir(c.dataDir);
        host.setEnginePath(c.enginePath);
        Instrument instrument;
        ASSERT_EQ(host.alerts.Alerts().size(), 1U);
        const AlertRecorder::Alert& alert = host.alerts.Alerts().front();
        EXPECT_EQ(alert.level, 0);
        EXPECT_EQ(alert.header, "Tavo Tarn 12");
        EXPECT_EQ(alert.message, c.alert);
        EXPECT_THAT(errorsIn(host.log()), ElementsAre("E:" + c.error));
        if (c.loader != nullptr) {
            EXPECT_THAT(host.log(),
                        Contains(AllOf(StartsWith("I:engine loader : "), HasSubstr(c.loader))));
        }
        expectNoEngineBehaviour(instrument, host);
        instrument.close();
        EXPECT_THAT(takeCalls(), IsEmpty());
        EXPECT_TRUE(ReadFile(host.logPath()).ends_with("@"));
    }
}

TEST(BringUp, AnEngineThatLeavesTheHandleZeroIsAskedAgainAtEachInitialize) {
    TestHost host;
    Instrument instrument;
    freshProbe().behaviour.leaveHandleZero = true;
    EXPECT_EQ(instrument.initialize(), noErr);
    EXPECT_THAT(takeCalls(), ElementsAre("9 0 ptr ptr 0 0 0 0 0"));
    EXPECT_THAT(instrument.pullNext().channels, Each(Each(0.0F)));
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
    for (const char* version : {"1025", "1026", "1.025", "1025.0", "1025 ", "", "01025",
                                "1025 with a text as long as the buffer is"}) {
        SCOPED_TRACE(version);
        TestHost host;
        freshProbe().behaviour.version = version;
        Instrument instrument;
        const bool compat = std::string(version) == "1025";
        const std::string turnedOn = "I:Turned on Ormo 1.025 compatibility slots";
        EXPECT_THAT(host.log(), Contains("I:fetched OrmoVersion:" +
                                         std::string(version).substr(0, kOrmoVersionTextSize)));
        EXPECT_EQ(std::ranges::count(host.log(), turnedOn), compat ? 1 : 0);
        instrument.initialize();
        for (const UInt32 status : {0x95U, 0xF8U})
            instrument.sendMidi(status, 60, 100, 0);
        instrument.pullNext();
        EngineOpenBlock block = {};
        std::memcpy(&block, callsOf(kOpOpenInstance).at(0).bytes[0].data(), sizeof block);
        EXPECT_EQ(block.reserved, 0U);
        EXPECT_EQ(block.channelCount, 2U);
        EXPECT_EQ(block.compatSlots, compat ? 1U : 0U);
        const std::string events = callsOf(kOpProcess).at(0).bytes[0];
        EXPECT_EQ(events[4], compat ? '\x90' : '\x95');
        EXPECT_EQ(events[4 + sizeof(MIDIEvent)], compat ? '\xF0' : '\xF8');
    }
}

TEST(BringUp, OpenBlockAndDataDirectoryStayUnchangedForTheInstrumentsLife) {
    TestHost host;
    host.setDataDir("/" + std::string(510, 'd')); // the longest there may be
    Instrument instrument;
    instrument.initialize();
    const probe::Call open = callsOf(kOpOpenInstance).at(0);
    const std::string dataDir = open.bytes[1];
    EXPECT_EQ(dataDir, "/" + std::string(510, 'd'));
    const auto* block = reinterpret_cast<const EngineOpenBlock*>(open.words[2]);
    instrument.pullNext();
    instrument.uninitialize();
    instrument.initialize();
    EXPECT_EQ(std::memcmp(block, open.bytes[0].data(), sizeof *block), 0);
    EXPECT_EQ(block->dataDir, dataDir);
    std::array<char, 1024> setupPath{};
    EXPECT_EQ(instrument.get(kPropertySetupPath, setupPath), noErr);
    EXPECT_EQ(std::string(setupPath.data()), dataDir + "/OrmoSetup.xml");
}

TEST(BringUp, TheLogBelongsToTheFirstAndTheLastInstrument) {
    TestHost host;
    auto first = std::make_unique<Instrument>();
    auto second = std::make_unique<Instrument>();
    first.reset();
    EXPECT_FALSE(ReadFile(host.logPath()).ends_with("@"));
    Instrument third;
    second.reset();
    EXPECT_EQ(std::ranges::count(host.log(), "I:fetched OrmoVersion:1026"), 3);
    third.close();
    EXPECT_TRUE(ReadFile(host.logPath()).ends_with("@"));
    EXPECT_THAT(host.log(), Contains(HasSubstr(" closed on: ")));
    Instrument afresh;
    EXPECT_EQ(std::ranges::count(host.log(), "I:fetched OrmoVersion:1026"), 1);
}

TEST(BringUp, TheLogIsNamedAfterTheHostUpToItsLastDot) {
    const std::pair<const char*, const char*> cases[] = {
        {"Studio 2.5", "Tarn 12AU_Studio 2.log"},
        {"Host", "Tarn 12AU_Host.log"},
        {"/Applications/Host.app", "Tarn 12AU_Host.log"},
    };
    for (const auto& [process, file] : cases) {
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

TEST(BringUp, RegistersTheBundleOnceForAllInstruments) {
    TestHost host;
    {
        Instrument first, second;
    }
    const std::string domain = ReadFile(host.home.ConfigHome() + "/velnor/com.Tavo.Tarn 12.plist");
    EXPECT_THAT(domain, HasSubstr(builtBundle("Velnor.component")));
    EXPECT_THAT(domain, HasSubstr("1.0.3"));
    EXPECT_THAT(domain, AllOf(HasSubstr("<key>000</key>"), Not(HasSubstr("<key>001</key>"))));
}

TEST(BringUp, SixtyFourInstrumentsShareOneLogAndOneEngineAndLeaveNothing) {
    TestHost host;
    {
        Instrument warmUp;
    } // the engine's bundle then stays for good
    const CFIndex objects = PlatformLiveObjectCount();
    for (const std::size_t number : {2U, 64U}) {
        std::vector<std::unique_ptr<Instrument>> instruments;
        freshProbe();
        for (std::size_t i = 0; i < number; ++i) {
            instruments.push_back(std::make_unique<Instrument>());
            ASSERT_EQ(instruments.back()->initialize(), noErr);
        }
        EXPECT_EQ(freshProbe().openInstances(), number);
        for (auto& instrument : instruments)
            EXPECT_EQ(instrument->pullNext().channels[1][3], probe::patternSample(1, 3));
        EXPECT_FALSE(ReadFile(host.logPath()).ends_with("@"));
        for (std::size_t i = 0; i < number; ++i) // neither in order nor in reverse
            instruments[(i * 7) % number].reset();
        EXPECT_EQ(callsOf(kOpCloseInstance).size(), number);
        EXPECT_EQ(freshProbe().openInstances(), 0U);
        EXPECT_TRUE(ReadFile(host.logPath()).ends_with("@"));
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
    EXPECT_THAT(host.alerts.Alerts(), IsEmpty());
}

/* The bundle is given back before the engine is told to close: only the reference that is never
 * given back keeps the code there. */
TEST(BringUp, TheEnginesCodeOutlivesEveryInstrument) {
    TestHost host;
    const std::string bundle = host.home.Root() + "/Copy.engine";
    std::filesystem::copy(builtBundle("Probe.engine"), bundle,
                          std::filesystem::copy_options::recursive);
    host.setEnginePath(bundle);
    {
        Instrument instrument;
        instrument.initialize();
    }
    const std::string folder = sizeof(void*) == 4 ? "i386-linux" : "x86_64-linux";
    void* image =
        dlopen((bundle + "/Contents/" + folder + "/Probe").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(image, nullptr);
    auto& probe = *reinterpret_cast<probe::Probe* (*)()>(dlsym(image, "velnorProbe"))();
    EXPECT_EQ(probe.openInstances(), 0U);
    EXPECT_EQ(probe.calls().back().opcode(), kOpCloseInstance);
    dlclose(image);
}

} // namespace
} // namespace velnor::test
