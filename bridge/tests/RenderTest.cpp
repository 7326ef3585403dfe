#include "bridge/tests/TestHost.h"

#include "platform/CFRef.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace velnor::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

void allowMultiOutput(ProductRecord& record) {
    record.multiOutput = 1;
}

std::vector<float*> pointersOf(const probe::Call& call) {
    std::vector<float*> pointers(call.bytes[1].size() / sizeof(float*));
    std::memcpy(pointers.data(), call.bytes[1].data(), call.bytes[1].size());
    return pointers;
}

OrmoSyncInfo syncOf(const probe::Call& call) {
    OrmoSyncInfo sync = {};
    std::memcpy(&sync, call.bytes[2].data(), sizeof sync);
    return sync;
}

/* Status byte and offset of each event that the last process call brought. */
std::vector<std::pair<int, SInt32>> lastEvents() {
    const std::string bytes = callsOf(kOpProcess).back().bytes[0];
    UInt32 count = 0;
    std::memcpy(&count, bytes.data(), sizeof count);
    std::vector<std::pair<int, SInt32>> events;
    for (UInt32 i = 0; i < count; ++i) {
        MIDIEvent event = {};
        std::memcpy(&event, bytes.data() + sizeof count + i * sizeof event, sizeof event);
        EXPECT_EQ(event.data[3], 0);
        EXPECT_EQ(event.reserved0 + event.reserved1 + event.reserved2, 0U);
        events.emplace_back(event.data[0], event.offset);
    }
    return events;
}

void expectPattern(const Instrument::Audio& audio, UInt32 firstChannel) {
    ASSERT_EQ(audio.status, noErr);
    for (UInt32 j = 0; j < audio.channels.size(); ++j) {
        for (UInt32 frame = 0; frame < audio.channels[j].size(); ++frame)
            ASSERT_EQ(audio.channels[j][frame], probe::patternSample(firstChannel + j, frame))
                << j << " " << frame;
    }
}

void expectSilence(const Instrument::Audio& audio) {
    EXPECT_EQ(audio.status, noErr);
    EXPECT_THAT(audio.channels, Each(Each(0.0F)));
}

/* Each host-facing operation, in a row, and what the engine hears of it. */
TEST(EngineCalls, ComeInTheOrderOfTheHostsOperations) {
    TestHost host;
    Instrument instrument;
    struct Row {
        const char* operation;
        std::function<OSStatus()> run;
        std::vector<std::string> calls;
    };
    const auto reset = [&] { return AudioUnitReset(instrument.unit(), kAudioUnitScope_Global, 0); };
    const std::string suspend = "12 E 0 0 0 0 0 0 0";
    const std::string resume = "13 E 0 0 0 0 0 0 0";
    const std::string resumeOffline = "13 E 0 0 0 1 0 0 0";
    const Row rows[] = {
        {"bring-up", [] { return noErr; }, {"8 0 ptr 0 0 0 0 0 0"}},
        {"reset before initialize", reset, {}},
        {"rate change before initialize", [&] { return instrument.setFormat(0, 2, 22050.9); }, {}},
        {"initialize",
         [&] { return instrument.initialize(); },
         {"9 0 ptr ptr 0 0 0 0 0", "11 E 0 0 0 22050 1156 0 0", resume}},
        {"initialize again", [&] { return instrument.initialize(); }, {}},
        {"render", [&] { return instrument.pullNext(64).status; }, {"15 E ptr ptr ptr 64 0 0 0"}},
        {"reset", reset, {suspend, resume}},
        {"offline on", [&] { return instrument.setOffline(7); }, {suspend, resumeOffline}},
        {"reset while offline", reset, {suspend, resumeOffline}},
        {"rate change",
         [&] { return instrument.setFormat(0, 2, 48000.0); },
         {suspend, "11 E 0 0 0 48000 1156 0 0", resumeOffline}},
        {"the same format", [&] { return instrument.setFormat(0, 2, 48000.0); }, {}},
        {"channel change", [&] { return instrument.setFormat(0, 1, 48000.0); }, {}},
        {"channels back", [&] { return instrument.setFormat(0, 2, 48000.0); }, {}},
        {"uninitialize", [&] { return instrument.uninitialize(); }, {suspend}},
        {"uninitialize again", [&] { return instrument.uninitialize(); }, {}},
        {"frame limit",
         [&] { return instrument.set(kAudioUnitProperty_MaximumFramesPerSlice, UInt32{512}); },
         {}},
        {"second initialize",
         [&] { return instrument.initialize(); },
         {"11 E 0 0 0 48000 512 0 0", resumeOffline}},
        {"offline off", [&] { return instrument.setOffline(0); }, {suspend, resume}},
        {"close", [&] { return instrument.close(), noErr; }, {suspend, "10 E 0 0 0 0 0 0 0"}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.run(), noErr) << row.operation;
        EXPECT_EQ(takeCalls(), row.calls) << row.operation;
    }
}

/* The new rate may differ from the bus's old one and yet be the one that the engine has. */
TEST(EngineCalls, ARateThatTheInstrumentHoldsAlreadyIsNotSent) {
    TestHost host;
    Instrument instrument(host.patchedComponent(allowMultiOutput));
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

TEST(Buses, TheShippedInstrumentIsStereoOnly) {
    TestHost host;
    for (const UInt32 channels : {1U, 2U, 4U}) {
        Instrument instrument;
        EXPECT_EQ(instrument.setFormat(0, channels), noErr);
        EXPECT_EQ(instrument.initialize(), channels == 2 ? noErr : -10868);
        EXPECT_EQ(callsOf(kOpOpenInstance).size(), channels == 2 ? 1U : 0U);
        EXPECT_THAT(host.log(), Contains("I:Initialize - numBuses : 1"));
        EXPECT_THAT(host.log(),
                    Contains("I:Initialize - numOutputs : " + std::to_string(channels)));
        freshProbe();
    }
}

TEST(Buses, OneCallRendersAllOfThemWhicheverIsPulledFirst) {
    TestHost host;
    Instrument instrument(host.patchedComponent(allowMultiOutput));
    ASSERT_EQ(instrument.setBusCount(3), noErr);
    ASSERT_EQ(instrument.setFormat(2, 1), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    EXPECT_THAT(host.log(), Contains("I:using extra buffer"));
    takeCalls();
    Float64 time = 0;
    for (const auto& order : {std::array{0, 1, 2}, std::array{2, 0, 1}, std::array{1, 2, 0}}) {
        for (const int bus : order)
            expectPattern(instrument.pull(static_cast<UInt32>(bus), bus == 2 ? 1 : 2, 100, time),
                          static_cast<UInt32>(2 * bus));
        time += 100;
    }
    EXPECT_EQ(takeCalls(), std::vector<std::string>(3, "15 E ptr ptr ptr 100 0 0 0"));
}

TEST(Buses, AnOddNumberOfChannelsIsMadeEvenByTheExtraBuffer) {
    TestHost host;
    Instrument instrument(host.patchedComponent(allowMultiOutput));
    ASSERT_EQ(instrument.setFormat(0, 3), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[0][4], 4);
    expectPattern(instrument.pull(0, 3, 1156, 0), 0);
    const std::vector<float*> pointers = pointersOf(callsOf(kOpProcess).back());
    ASSERT_EQ(pointers.size(), 4U);
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(pointers[static_cast<std::size_t>(i)], pointers[3]);
    EXPECT_EQ(pointers[3][1155], probe::patternSample(3, 1155)); // it is the whole slice long
}

/* Formats stay writable after the engine was opened; it keeps the channels it was opened with. */
TEST(Buses, ChannelsThatTheEngineDoesNotKnowAreSilentAndMissingOnesHarmless) {
    TestHost host;
    Instrument instrument(host.patchedComponent(allowMultiOutput));
    ASSERT_EQ(instrument.setBusCount(2), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    EXPECT_EQ(callsOf(kOpOpenInstance).at(0).bytes[0][4], 4);
    ASSERT_EQ(instrument.setFormat(0, 1), noErr);
    expectPattern(instrument.pull(0, 1, 64, 0), 0);
    ASSERT_EQ(instrument.setFormat(0, 40), noErr);
    const Instrument::Audio audio = instrument.pull(0, 40, 64, 64);
    ASSERT_EQ(audio.status, noErr);
    EXPECT_EQ(audio.channels[3][63], probe::patternSample(3, 63));
    for (std::size_t j = 4; j < 40; ++j)
        EXPECT_THAT(audio.channels[j], Each(0.0F)) << j;
    expectSilence(instrument.pull(1, 2, 64, 64));
}

TEST(Buses, ThirtyTwoChannelsAreTheMostThatTheEngineGets) {
    TestHost host;
    Instrument instrument(host.patchedComponent(allowMultiOutput));
    for (const auto& [channels, status] : {std::pair(34U, -10868), {32U, 0}}) {
        ASSERT_EQ(instrument.setFormat(0, channels), noErr);
        EXPECT_EQ(instrument.initialize(), status);
    }
    ASSERT_EQ(instrument.setFormat(0, 34), noErr);
    const Instrument::Audio audio = instrument.pull(0, 34, 64, 0);
    ASSERT_EQ(audio.status, noErr);
    EXPECT_EQ(audio.channels[31][63], probe::patternSample(31, 63));
    for (const int beyond : {32, 33})
        EXPECT_THAT(audio.channels[static_cast<std::size_t>(beyond)], Each(0.0F));
}

TEST(Buses, WithoutAnEngineEveryBusIsSilent) {
    TestHost host;
    host.setEnginePath({});
    Instrument instrument(host.patchedComponent(allowMultiOutput));
    ASSERT_EQ(instrument.setBusCount(2), noErr);
    ASSERT_EQ(instrument.setFormat(1, 5), noErr);
    ASSERT_EQ(instrument.initialize(), noErr);
    expectSilence(instrument.pull(1, 5, 64, 0));
    expectSilence(instrument.pull(0, 2, 64, 0));
}

TEST(Midi, ABlocksEventsComeByOffsetAndThenByArrival) {
    TestHost host;
    Instrument instrument;
    instrument.initialize();
    const std::pair<UInt32, SInt32> sent[] = {
        {0x91, 5}, {0x92, 0}, {0x83, 5}, {0xF8, 2}, {0xB0, -7}};
    for (const auto& [status, offset] : sent)
        EXPECT_EQ(instrument.sendMidi(status, 1, 2, offset), noErr);
    instrument.pullNext();
    EXPECT_THAT(lastEvents(),
                ElementsAre(std::pair(0xB0, -7), std::pair(0x92, 0), std::pair(0xF8, 2),
                            std::pair(0x91, 5), std::pair(0x83, 5)));
    instrument.pullNext();
    EXPECT_THAT(lastEvents(), IsEmpty());
}

TEST(Midi, Message1024IsDroppedWithOneErrorLine) {
    TestHost host;
    Instrument instrument;
    instrument.initialize();
    for (SInt32 i = 0; i < 1024; ++i)
        EXPECT_EQ(instrument.sendMidi(0x90, 1, 2, i), noErr);
    EXPECT_EQ(std::ranges::count(host.log(), "E:MIDI QUEUE ERROR"), 1);
    instrument.pullNext();
    EXPECT_EQ(lastEvents().size(), 1023U);
    EXPECT_EQ(lastEvents().back().second, 1022);
}

TEST(Midi, ResetAndInitializeDiscardWhatIsQueued) {
    TestHost host;
    Instrument instrument;
    instrument.sendMidi(0x90, 1, 2, 0);
    instrument.initialize();
    instrument.pullNext();
    EXPECT_THAT(lastEvents(), IsEmpty());
    instrument.sendMidi(0x91, 1, 2, 0);
    AudioUnitReset(instrument.unit(), kAudioUnitScope_Global, 0);
    instrument.sendMidi(0x92, 1, 2, 0);
    instrument.pullNext();
    EXPECT_THAT(lastEvents(), ElementsAre(std::pair(0x92, 0)));
}

/* What the host's callbacks answer, and whether they do. */
struct Transport {
    OSStatus beatStatus = noErr, timeStatus = noErr, stateStatus = noErr;
    Float64 beat = 9.5, tempo = 90, downBeat = 9;
    Boolean playing = 1;
    int wrongPresets = 0;

    static OSStatus beatAndTempo(void* context, Float64* outBeat, Float64* outTempo) {
        Transport& self = *static_cast<Transport*>(context);
        self.wrongPresets += *outBeat != 0 || *outTempo != 120;
        *outBeat = self.beat;
        *outTempo = self.tempo;
        return self.beatStatus;
    }
    static OSStatus musicalTime(void* context, UInt32* outToNextBeat, Float32* outNumerator,
                                UInt32* outDenominator, Float64* outDownBeat) {
        Transport& self = *static_cast<Transport*>(context);
        self.wrongPresets +=
            *outToNextBeat != 0 || *outNumerator != 4 || *outDenominator != 4 || *outDownBeat != 0;
        *outNumerator = 2.6F;
        *outDenominator = 8;
        *outDownBeat = self.downBeat;
        return self.timeStatus;
    }
    static OSStatus state(void* context, Boolean* outPlaying, Boolean* outChanged,
                          Float64* outSamplePos, Boolean* outCycling, Float64* outStart,
                          Float64* outEnd) {
        Transport& self = *static_cast<Transport*>(context);
        self.wrongPresets += *outPlaying != 1 || *outChanged != 0 || *outCycling != 0 ||
                             *outSamplePos != 0 || *outStart != 0 || *outEnd != 0;
        *outPlaying = self.playing;
        *outChanged = *outCycling = 1;
        *outSamplePos = 12345;
        *outStart = 8;
        *outEnd = 16;
        return self.stateStatus;
    }
    HostCallbackInfo callbacks() { return {this, beatAndTempo, musicalTime, state}; }
};

class TransportTest : public testing::Test {
protected:
    OrmoSyncInfo render(const HostCallbackInfo& callbacks, UInt32 frames = 64) {
        instrument.setHostCallbacks(callbacks);
        instrument.pullNext(frames);
        return syncOf(callsOf(kOpProcess).back());
    }
    void SetUp() override { instrument.initialize(); }
    void TearDown() override { EXPECT_EQ(transport.wrongPresets, 0); }

    TestHost host;
    Instrument instrument;
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
        EXPECT_EQ(render(callbacks).barStart, barStart);
    }
    callbacks.beatAndTempoProc = nullptr;
    EXPECT_EQ(render(callbacks).bpm, 60);
}

TEST_F(TransportTest, ThatContradictsItselfReachesTheEngineStopped) {
    transport.downBeat = 10;
    EXPECT_EQ(render(transport.callbacks()).playing, 0);
    transport.downBeat = transport.beat = 40; // fine, but outside the loop
    const OrmoSyncInfo sync = render(transport.callbacks());
    EXPECT_EQ(sync.playing, 1);
    EXPECT_EQ(sync.looping, 0);
    EXPECT_EQ(sync.crossesLoopEnd, 0);
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
} // namespace velnor::test
