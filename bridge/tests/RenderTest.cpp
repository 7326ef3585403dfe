#include "testing/TestHost.h"
#include "testing/Testing.h"

#include <atomic>
#include <cmath>

namespace velnor::testing {
namespace {

using EngineCalls = Opened;
using Midi = Playing;

// A host with the multi-output instrument in it.
struct Buses : Test {
    TestHost host;
    Instrument instrument{
        host.patchedComponent([](ProductRecord& record) { record.multiOutput = 1; })};
};

// Status byte and offset of each event that the last process call brought.
std::vector<std::pair<int, SInt32>> lastEvents() {
    std::vector<std::pair<int, SInt32>> events;
    for (const MIDIEvent& event : eventsOf(callsOf(kOpProcess).back())) {
        EXPECT_EQ(event.data[3], 0);
        EXPECT_EQ(event.reserved0 + event.reserved1 + event.reserved2, 0U);
        events.emplace_back(event.data[0], event.offset);
    }
    return events;
}

void expectPattern(const Instrument::Audio& audio, UInt32 firstChannel) {
    ASSERT_EQ(audio.status, noErr);
    for (UInt32 j = 0; j < audio.channels.size(); ++j) {
        for (UInt32 frame = 0; frame < audio.channels[j].size(); ++frame) {
            ASSERT_EQ(audio.channels[j][frame], probe::patternSample(firstChannel + j, frame))
                << j << " " << frame;
        }
    }
}

void expectSilence(const Instrument::Audio& audio) {
    EXPECT_EQ(audio.status, noErr);
    EXPECT_THAT(audio.channels, Each(Each(0.0F)));
}

// Each host-facing operation, in a row, and what the engine hears of it.
TEST_F(EngineCalls, ComeInTheOrderOfTheHostsOperations) {
    const std::string suspend = "12 E 0 0 0 0 0 0 0";
    const std::string resume = "13 E 0 0 0 0 0 0 0";
    const std::string resumeOffline = "13 E 0 0 0 1 0 0 0";
    const auto hears = [](const char* operation, OSStatus status, const Texts& calls) {
        EXPECT_EQ(status, noErr) << operation;
        EXPECT_EQ(takeCalls(), calls) << operation;
    };
    const auto reset = [&] { return AudioUnitReset(instrument.unit(), kAudioUnitScope_Global, 0); };
    hears("bring-up", noErr, {"8 0 ptr 0 0 0 0 0 0"});
    hears("reset before initialize", reset(), {});
    hears("rate change before initialize", instrument.setFormat(0, 2, 22050.9), {});
    hears("initialize", instrument.initialize(),
          {"9 0 ptr ptr 0 0 0 0 0", "11 E 0 0 0 22050 1156 0 0", resume});
    hears("initialize again", instrument.initialize(), {});
    hears("render", instrument.pullNext(64).status, {"15 E ptr ptr ptr 64 0 0 0"});
    hears("reset", reset(), {suspend, resume});
    hears("offline on", instrument.setOffline(0x100), {suspend, resumeOffline});
    hears("reset while offline", reset(), {suspend, resumeOffline});
    hears("rate change", instrument.setFormat(0, 2, 48000),
          {suspend, "11 E 0 0 0 48000 1156 0 0", resumeOffline});
    hears("the same format", instrument.setFormat(0, 2, 48000), {});
    hears("channel change", instrument.setFormat(0, 1, 48000), {});
    hears("channels back", instrument.setFormat(0, 2, 48000), {});
    hears("uninitialize", instrument.uninitialize(), {suspend});
    hears("uninitialize again", instrument.uninitialize(), {});
    hears("frame limit", instrument.set(kAudioUnitProperty_MaximumFramesPerSlice, UInt32{512}), {});
    hears("second initialize", instrument.initialize(),
          {"11 E 0 0 0 48000 512 0 0", resumeOffline});
    hears("offline off", instrument.setOffline(0), {suspend, resume});
    instrument.close();
    hears("close", noErr, {suspend, "10 E 0 0 0 0 0 0 0"});
}

// The new rate may differ from the bus's old one and yet be the one that the engine has.
TEST_F(Buses, ARateThatTheInstrumentHoldsAlreadyIsNotSent) {
    ASSERT_EQ(instrument.setBusCount(2), noErr);
    ASSERT_EQ(instrument.setFormat(1, 2, 96000.0), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    takeCalls();
    EXPECT_EQ(instrument.setFormat(1, 2, 44100.0), noErr); // bus 0's
    EXPECT_THAT(takeCalls(), IsEmpty());
    EXPECT_EQ(instrument.setFormat(1, 2, 96000.0), noErr); // another bus: bus 0's rate is sent
    EXPECT_THAT(takeCalls(), ElementsAre("12 E 0 0 0 0 0 0 0", "11 E 0 0 0 44100 1156 0 0",
                                         "13 E 0 0 0 0 0 0 0"));
}

TEST_F(Buses, AChangeOfRateIsToldForItsBusOnceMore) {
    ASSERT_EQ(instrument.setBusCount(2), noErr);
    std::string told;
    AudioUnitAddPropertyListener(
        instrument.unit(), kAudioUnitProperty_StreamFormat,
        [](void* text, AudioUnit, AudioUnitPropertyID, AudioUnitScope scope, AudioUnitElement bus) {
            *static_cast<std::string*>(text) += std::to_string(10 * scope + bus) + " ";
        },
        &told);
    EXPECT_EQ(instrument.setFormat(1, 1), noErr);
    EXPECT_EQ(std::exchange(told, {}), "21 ") << "channels alone";
    EXPECT_EQ(instrument.setFormat(1, 1, 96000.0), noErr);
    EXPECT_EQ(told, "21 21 ");
}

TEST_F(Buses, OneCallRendersAllOfThemWhicheverIsPulledFirst) {
    ASSERT_EQ(instrument.setBusCount(3), noErr);
    ASSERT_EQ(instrument.setFormat(2, 1), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    EXPECT_THAT(host.log(), Contains("I:using extra buffer"));
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[0][4], 6);
    takeCalls();
    Float64 time = 0;
    for (const auto& order :
         {std::array{0U, 1U, 2U}, std::array{2U, 0U, 1U}, std::array{1U, 2U, 0U}}) {
        for (const UInt32 bus : order) {
            expectPattern(instrument.pull(bus, bus == 2 ? 1 : 2, 1156, time), 2 * bus);
        }
        time += 1156;
    }
    std::array<float*, 6> pointers{};
    std::memcpy(pointers.data(), callsOf(kOpProcess).back().bytes[1].data(), sizeof pointers);
    EXPECT_EQ(pointers[5][1155], probe::patternSample(5, 1155)) << "as long as the whole slice";
    EXPECT_EQ(takeCalls(), Texts(3, "15 E ptr ptr ptr 1156 0 0 0"));
}

// Formats stay writable after the engine was opened; it keeps the channels it was opened with.
TEST_F(Buses, ChannelsThatTheEngineDoesNotKnowAreSilentAndMissingOnesHarmless) {
    ASSERT_EQ(instrument.setBusCount(2), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[0][4], 4);
    ASSERT_EQ(instrument.setFormat(0, 1), noErr);
    expectPattern(instrument.pull(0, 1, 64, 0), 0);
    ASSERT_EQ(instrument.setFormat(0, 40), noErr);
    const Instrument::Audio audio = instrument.pull(0, 40, 64, 64);
    ASSERT_EQ(audio.status, noErr);
    EXPECT_EQ(audio.channels[3][63], probe::patternSample(3, 63));
    for (std::size_t j = 4; j < 40; ++j) {
        EXPECT_THAT(audio.channels[j], Each(0.0F)) << j;
    }
    expectSilence(instrument.pull(1, 2, 64, 64));
}

TEST_F(Midi, ABlocksEventsComeByOffsetAndThenByArrival) {
    for (const auto& [status, offset] :
         Rows<UInt32, SInt32>{{0x91, 5}, {0x92, 0}, {0x83, 5}, {0xF8, 2}, {0xB0, -7}}) {
        EXPECT_EQ(instrument.sendMidi(status, 1, 2, offset), noErr);
    }
    instrument.pullNext();
    EXPECT_THAT(lastEvents(), ElementsAre(Pair(0xB0, -7), Pair(0x92, 0), Pair(0xF8, 2),
                                          Pair(0x91, 5), Pair(0x83, 5)));
    instrument.pullNext();
    EXPECT_THAT(lastEvents(), IsEmpty());
}

// From places all around the queue, and again after a reset in the middle of it.
TEST_F(Midi, Message1024IsDroppedWithOneErrorLine) {
    for (std::size_t round = 1; round <= 12; ++round) {
        for (SInt32 i = 0; i < 1024; ++i) {
            EXPECT_EQ(instrument.sendMidi(0x90, 1, 2, i), noErr);
        }
        EXPECT_THAT(host.log(), Contains("E:MIDI QUEUE ERROR").Times(round));
        instrument.pullNext();
        EXPECT_EQ(lastEvents().size(), 1023U);
        EXPECT_EQ(lastEvents().front().second, 0);
        EXPECT_EQ(lastEvents().back().second, 1022);
        for (int i = 0; i < 93; ++i) {
            instrument.sendMidi(0x90, 1, 2, i);
        }
        if (round == 11) {
            AudioUnitReset(instrument.unit(), kAudioUnitScope_Global, 0);
        }
        instrument.pullNext();
        EXPECT_EQ(lastEvents().size(), round == 11 ? 0U : 93U);
    }
}

TEST_F(Midi, InitializeDiscardsWhatIsQueued) {
    instrument.uninitialize();
    instrument.sendMidi(0x90, 1, 2, 0);
    instrument.initialize();
    instrument.pullNext();
    EXPECT_THAT(lastEvents(), IsEmpty());
}

// The host's MIDI thread against its render thread, through the component's entry.
TEST_F(Midi, MessagesSentWhileRenderingArriveOnceAndInOrder) {
    constexpr SInt32 kMessages = 100000;
    freshProbe().behaviour.writePattern = false;
    std::atomic<SInt32> received{0};
    std::thread producer([&] {
        for (SInt32 i = 0; i < kMessages; ++i) {
            while (i - received.load(std::memory_order_acquire) >= 1023) {
                std::this_thread::yield();
            }
            instrument.sendMidi(0x90, static_cast<UInt32>(i & 0x7F), static_cast<UInt32>(i >> 7),
                                0);
        }
    });
    SInt32 expected = 0;
    SInt32 wrong = 0;
    while (expected < kMessages) {
        instrument.pullNext();
        for (const MIDIEvent& event : eventsOf(callsOf(kOpProcess).at(0))) {
            wrong += event.data[1] != (expected & 0x7F) || event.data[2] != (expected >> 7 & 0xFF);
            ++expected;
        }
        takeCalls();
        received.store(expected, std::memory_order_release);
        std::this_thread::yield();
    }
    producer.join();
    EXPECT_EQ(wrong, 0);
}

struct TransportTest : Playing {
    ~TransportTest() override { EXPECT_EQ(transport.wrongPresets, 0); }
    OrmoSyncInfo render(const HostCallbackInfo& callbacks, UInt32 frames = 64) {
        instrument.setHostCallbacks(callbacks);
        instrument.pullNext(frames);
        OrmoSyncInfo sync = {};
        std::memcpy(&sync, callsOf(kOpProcess).back().bytes[2].data(), sizeof sync);
        return sync;
    }

    Transport transport;
};

TEST_F(TransportTest, ReachesTheEngineAsTheHostReportsIt) {
    const OrmoSyncInfo sync = render(transport.callbacks());
    OrmoSyncInfo expected = {};
    expected.bpm = 90;
    expected.ppq = 9.5;
    expected.timeSigNumerator = 3;
    expected.timeSigDenominator = 8;
    expected.barStart = 9;
    expected.playing = expected.looping = expected.transportChanged = 1;
    expected.samplePos = 12345;
    expected.loopStart = 8;
    expected.loopEnd = 16;
    expected.sampleRate = 44100;
    expected.sampleLength = 64;
    expected.beatsPerBar = 1.5;
    expected.blockBeats = 64 * ((90 / 60.0) / 44100);
    expected.samplesToBar = 29400;
    EXPECT_EQ(std::memcmp(&sync, &expected, sizeof sync), 0);
}

TEST_F(TransportTest, OfAMissingOrFailingCallbackKeepsItsValuesButForTheBarStart) {
    HostCallbackInfo callbacks = transport.callbacks();
    render(callbacks);
    transport.tempo = 60;
    transport.beat = 10.7;
    transport.beatStatus = transport.timeStatus = transport.stateStatus = -1;
    transport.playing = 0;
    const OrmoSyncInfo sync = render(callbacks);
    EXPECT_EQ(sync.bpm, 90);
    EXPECT_EQ(sync.ppq, 9.5);
    EXPECT_EQ(sync.barStart, 8);
    EXPECT_EQ(sync.timeSigNumerator, 3);
    EXPECT_EQ(sync.playing, 1);
    transport.beatStatus = noErr;
    callbacks.musicalTimeLocationProc = nullptr;
    for (const auto& [beat, barStart] : {std::pair(10.7, 8.0), {3.99, 0.0}, {-5.0, -4.0}}) {
        transport.beat = beat;
        const OrmoSyncInfo moved = render(callbacks);
        EXPECT_EQ(moved.barStart, barStart);
        EXPECT_EQ(moved.playing, 0) << "no position in the bar that begins there";
    }
    callbacks.beatAndTempoProc = nullptr;
    EXPECT_EQ(render(callbacks).bpm, 60);
}

TEST_F(TransportTest, FlagsAreTheirOwnAndHalvesRoundToEven) {
    // What is no time signature stops the transport.
    for (const auto& [numerator, rounded] : {std::pair(2.5F, 2),
                                             {3.5F, 4},
                                             {6.49F, 6},
                                             {1e20F, INT32_MAX},
                                             {-1e20F, INT32_MIN},
                                             {std::nanf(""), 0}}) {
        for (int flags = 0; flags < 8; ++flags) {
            transport.numerator = numerator;
            transport.playing = (flags & 1) != 0 ? 255 : 0;
            transport.cycling = (flags & 2) != 0;
            transport.changed = (flags & 4) != 0;
            const OrmoSyncInfo sync = render(transport.callbacks());
            EXPECT_EQ(sync.timeSigNumerator, rounded);
            EXPECT_EQ(sync.playing | sync.looping << 1 | sync.transportChanged << 2,
                      rounded > 0 ? flags : flags & ~1);
        }
    }
}

TEST_F(TransportTest, StandsStillAfterInitializeUntilTheHostReportsIt) {
    render(transport.callbacks());
    instrument.uninitialize();
    ASSERT_EQ(instrument.set(kAudioUnitProperty_MaximumFramesPerSlice, UInt32{40000}), noErr);
    ASSERT_EQ(instrument.setFormat(0, 2, 44100.4), noErr);
    instrument.initialize();
    const OrmoSyncInfo sync = render({}, 40000);
    EXPECT_EQ(sync.playing, 0);
    EXPECT_EQ(sync.bpm, 120);
    EXPECT_EQ(sync.sampleRate, 44100.4);
    EXPECT_EQ(sync.sampleLength, -25536); // the low 16 bits
    EXPECT_EQ(sync.blockBeats, 40000 * ((120.0 / 60.0) / 44100.4));
}

} // namespace
} // namespace velnor::testing
