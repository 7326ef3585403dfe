// A host that does at random everything that hosts do: blocks, rates, buses, resets, offline
// switches, state saves, editors.
#include "platform/EventLoop.h"
#include "testing/HostWindow.h"
#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <cmath>
#include <iostream>
#include <malloc.h>
#include <memory>
#include <random>

namespace velnor::testing {
namespace {

constexpr double kShortRun = 10.0; // simulated seconds, unless told otherwise
constexpr double kWarmUp = 0.25;   // the part of a run after which nothing may grow
// Bytes: what buffers may still grow to hold a larger block. In ten minutes, less than a kilobyte
// lost in each session is more.
constexpr std::size_t kMostGrowth = 256 * 1024;

constexpr double kRates[] = {22050.0, 44100.0, 48000.0, 88200.0, 96000.0};
constexpr int kNumbers[] = {6, 6, 38, 98, 98, 99, 100, 101}; // data entry, (non-)registered ones
constexpr UInt32 kSlices[] = {1, 16, 64, 137, 512, 1024, 4096};

class Soak : public TestWithParam<const char*> {
protected:
    ~Soak() override { close(); }
    // Not a standard distribution: those differ between libraries, and a seed must mean one run.
    int pick(int low, int high) {
        return low + static_cast<int>(random() % static_cast<std::uint64_t>(high - low + 1));
    }
    bool oneIn(int n) { return pick(1, n) == 1; }
    void close() {
        editor.reset();
        instrument.reset();
        freshProbe();
        PlatformAdvanceEventLoop(1.0);
    }
    void playSession();
    void setUp();
    void sendEvents(UInt32 frames);
    void disturb();
    void saveAndRestore();
    void pull(UInt32 frames);
    void checkBlock(UInt32 frames);

    TestHost host;
    const bool checkEvents = GetParam() == std::string("Probe.engine");
    std::string bundle;
    std::mt19937_64 random;
    std::unique_ptr<Instrument> instrument;
    std::optional<HostWindow> editor;
    std::vector<UInt32> channels; // of each bus
    double rate = 0.0, sampleTime = 0.0, seconds = 0.0;
    UInt32 mostFrames = 0;
    std::vector<MIDIEvent> expected; // sent since the last pull or reset, by offset
    float peak = 0.0F;               // of this session
    int longSessions = 0;            // of more than a second
    int soundingSessions = 0;        // those of them in which something was heard
    std::uint64_t blocks = 0, events = 0;
};

// Opens an instrument where none is open, plays one set-up of it (some hundred blocks) and closes
// it again more often than not.
void Soak::playSession() {
    if (!instrument) {
        instrument = std::make_unique<Instrument>(bundle);
    }
    setUp();
    ASSERT_EQ(instrument->initialize(), noErr);
    expected.clear();
    peak = 0.0F;
    const double begin = seconds;
    for (int block = pick(20, 400); block > 0 && !HasFailure(); --block) {
        const auto frames = static_cast<UInt32>(pick(1, static_cast<int>(mostFrames)));
        sendEvents(frames);
        disturb();
        pull(frames);
    }
    EXPECT_EQ(instrument->uninitialize(), noErr);
    longSessions += seconds - begin > 1.0;
    soundingSessions += seconds - begin > 1.0 && peak > 1e-4F;
    if (!oneIn(3)) {
        close();
    }
}

void Soak::setUp() {
    rate = kRates[pick(0, std::size(kRates) - 1)];
    mostFrames = kSlices[pick(0, std::size(kSlices) - 1)];
    channels.assign(static_cast<std::size_t>(pick(1, 4)), 2);
    ASSERT_EQ(instrument->setBusCount(static_cast<UInt32>(channels.size())), noErr);
    for (UInt32 bus = 0; bus < channels.size(); ++bus) {
        channels[bus] = checkEvents ? static_cast<UInt32>(pick(1, 4)) : 2;
        ASSERT_EQ(instrument->setFormat(bus, channels[bus], rate), noErr);
    }
    ASSERT_EQ(instrument->set(kAudioUnitProperty_MaximumFramesPerSlice, mostFrames), noErr);
}

void Soak::sendEvents(UInt32 frames) {
    for (int count = oneIn(50) ? pick(200, 1000) : pick(0, 6); count > 0; --count) {
        const int kind = pick(8, 14);
        // Parameter numbers change a synthesizer's insides, and are rare among any controllers.
        const bool isNumber = kind == 11 && oneIn(3);
        const int data1 = isNumber ? kNumbers[pick(0, std::size(kNumbers) - 1)] : pick(0, 127);
        const int data2 = data1 == 99 && oneIn(2) ? 120 : pick(0, 127);
        MIDIEvent event = {};
        event.data[0] = static_cast<UInt8>(kind << 4 | pick(0, 15));
        event.data[1] = static_cast<UInt8>(data1);
        event.data[2] = static_cast<UInt8>(data2);
        event.offset = pick(0, static_cast<int>(frames) - 1);
        expected.insert(std::ranges::upper_bound(expected, event.offset, {}, &MIDIEvent::offset),
                        event);
        EXPECT_EQ(instrument->sendMidi(event.data[0], event.data[1], event.data[2], event.offset),
                  noErr);
    }
}

void Soak::disturb() {
    if (oneIn(40)) {
        EXPECT_EQ(AudioUnitReset(instrument->unit(), kAudioUnitScope_Global, 0), noErr);
        expected.clear();
    }
    if (oneIn(40)) {
        EXPECT_EQ(instrument->setOffline(static_cast<UInt32>(pick(0, 1))), noErr);
    }
    if (oneIn(40)) {
        saveAndRestore();
    }
    if (editor && oneIn(60)) {
        editor.reset();
    } else if (!editor && oneIn(60)) {
        EXPECT_EQ(editor.emplace().Show(instrument->view(), instrument->unit()), noErr);
    }
    if (editor && oneIn(4)) {
        PlatformAdvanceEventLoop(0.05);
    }
}

void Soak::saveAndRestore() {
    CFRef<CFPropertyListRef> state, again;
    EXPECT_EQ(instrument->get(kAudioUnitProperty_ClassInfo, *state.Out()), noErr);
    CFPropertyListRef value = state.Get();
    EXPECT_EQ(instrument->set(kAudioUnitProperty_ClassInfo, value), noErr);
    EXPECT_EQ(instrument->get(kAudioUnitProperty_ClassInfo, *again.Out()), noErr);
    EXPECT_TRUE(CFEqual(again.Get(), value));
}

void Soak::pull(UInt32 frames) {
    for (UInt32 bus = 0; bus < channels.size(); ++bus) {
        const auto audio = instrument->pull(bus, channels[bus], frames, sampleTime);
        ASSERT_EQ(audio.status, noErr);
        for (const auto& channel : audio.channels) {
            for (const float sample : channel) {
                ASSERT_LT(std::fabs(sample), 50.0F);
                peak = std::max(peak, std::fabs(sample));
            }
        }
    }
    if (checkEvents) {
        checkBlock(frames);
    }
    events += expected.size();
    expected.clear();
    sampleTime += frames;
    seconds += frames / rate;
    ++blocks;
}

// One process call for all buses, with every message once, in order.
void Soak::checkBlock(UInt32 frames) {
    const auto calls = callsOf(kOpProcess);
    ASSERT_EQ(calls.size(), 1U) << "block " << blocks;
    ASSERT_EQ(static_cast<UInt32>(calls[0].words[5]), frames);
    const auto same = [](const MIDIEvent& a, const MIDIEvent& b) {
        return std::memcmp(&a, &b, offsetof(MIDIEvent, unused)) == 0;
    };
    ASSERT_TRUE(std::ranges::equal(eventsOf(calls[0]), expected, same)) << "block " << blocks;
    freshProbe();
}

TEST_P(Soak, LosesNoEventAndDoesNotGrow) {
    const char* const wantedSeed = std::getenv("VELNOR_SOAK_SEED");
    const char* const wantedSeconds = std::getenv("VELNOR_SOAK_SECONDS");
    const std::uint64_t seed =
        wantedSeed != nullptr ? std::strtoull(wantedSeed, nullptr, 10) : std::random_device()();
    const double end = wantedSeconds != nullptr ? std::atof(wantedSeconds) : kShortRun;
    ASSERT_GT(end, 0.0) << "VELNOR_SOAK_SECONDS";
    std::cout << "VELNOR_SOAK_SEED=" << seed << " VELNOR_SOAK_SECONDS=" << end << std::endl;
    random.seed(seed);
    const std::string data = host.home.Root() + "/data"; // holds the SoundFont
    std::filesystem::create_directories(data);
    std::filesystem::create_symlink("/usr/share/sounds/sf2/TimGM6mb.sf2", data + "/font.sf2");
    host.setDataDir(data);
    host.setEnginePath(builtBundle(GetParam()));
    bundle = host.patchedComponent([](auto& record) { record.multiOutput = 1; });
    std::size_t bytes = 0;
    CFIndex objects = 0;
    const auto bytesInUse = [] {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    while (seconds < end && !HasFailure()) {
        playSession();
        if (bytes == 0 && seconds > kWarmUp * end) {
            close();
            bytes = bytesInUse();
            objects = PlatformLiveObjectCount();
        }
    }
    close();
    const std::size_t now = bytesInUse();
    if (end > 10 * kShortRun) { // before that, every buffer is still on its way to its largest
        EXPECT_LE(now, bytes + kMostGrowth);
    }
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
    EXPECT_GE(seconds, end);
    EXPECT_GT(events, 0U);
    EXPECT_GE(2 * soundingSessions, longSessions);
    EXPECT_THAT(host.alerts.Alerts(), IsEmpty());
    std::cout << seconds << " s, " << blocks << " blocks, " << events << " events, "
              << soundingSessions << " of " << longSessions << " long sessions heard; heap "
              << bytes << " bytes after a quarter, " << now << " at the end" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Engines, Soak, Values("Probe.engine", "SoundFont.engine"),
                         [](const auto& engine) {
                             return std::string(engine.param, std::strchr(engine.param, '.'));
                         });

} // namespace
} // namespace velnor::testing
