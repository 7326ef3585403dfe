#include "framework/tests/OpenInstrument.h"

#include <xmmintrin.h>

namespace velnor::testing {
namespace {

TEST(RenderDriver, OneRenderServesAllBusesOfATimeStampInWhateverOrder) {
    const InitializedInstrument unit({.outputs = 3});
    // The last column is the render whose samples arrive.
    for (const auto& [time, bus, hostMemory, render] :
         Rows<Float64, UInt32, bool, int>{{0, 0, true, 1},
                                          {0, 2, true, 1},
                                          {0, 1, false, 1},
                                          {64, 2, true, 2},
                                          {64, 0, true, 2},
                                          {64, 0, false, 2},
                                          {64, 0, true, 2},
                                          {128, 1, false, 3},
                                          {64, 1, true, 4},
                                          {64, 2, false, 4}}) {
        HostBuffers buffers(2, 64, hostMemory);
        ASSERT_EQ(buffers.Pull(unit, bus, 64, time), noErr);
        EXPECT_EQ(unit->mRenders, render);
        for (UInt32 channel = 0; channel < 2; ++channel) {
            const Float32 sample = TestInstrument::SampleOf(render, bus, channel);
            EXPECT_EQ(buffers.Sample(channel, 0), sample);
            EXPECT_EQ(buffers.Sample(channel, 63), sample);
            EXPECT_EQ(buffers.Buffer(channel).mDataByteSize, 256u);
        }
    }
    unit.Fail("Reset", kFailures[0].first);
    for (const bool fails : {true, false}) {
        EXPECT_EQ(AudioUnitReset(unit, kGlobal, 0), fails ? kFailures[0].second : noErr);
        EXPECT_EQ(HostBuffers(2, 64).Pull(unit, 0, 64, 64), noErr);
        EXPECT_EQ(unit->mRenders, fails ? 5 : 6) << "the next pull renders";
        unit.Fail("", nullptr);
    }
}

TEST(RenderDriver, RefusedPullTouchesNothingAndIsTheLastRenderErrorUntilItIsRead) {
    OpenInstrument unit({.outputs = 2});
    Changes changes(unit, {kAudioUnitProperty_LastRenderError});
    HostBuffers mixed(2, 64);
    mixed.Buffer(1).mData = nullptr;
    for (auto& [status, buffers, bus, frames] :
         std::vector<std::tuple<OSStatus, HostBuffers, UInt32, UInt32>>{
             {kAudioUnitErr_Uninitialized, {2, 64}, 0, 64},
             {kAudioUnitErr_TooManyFramesToProcess, {2, 64}, 0, 1157},
             {kAudioUnitErr_TooManyFramesToProcess, {2, 64}, 0, 0xFFFFFFFF},
             {kAudioUnitErr_InvalidElement, {2, 64}, 2, 64},
             {paramErr, {1, 64}, 0, 64},
             {paramErr, {3, 64}, 1, 64},
             {paramErr, std::move(mixed), 0, 64}}) {
        EXPECT_EQ(buffers.Pull(unit, bus, frames, 0), status) << frames;
        EXPECT_EQ(buffers.Memory(0)[0], HostBuffers::kUntouched);
        EXPECT_EQ(unit.LastError(), status);
        EXPECT_EQ(unit.LastError(), noErr);
        EXPECT_EQ(changes.Take(), "22 0 0: ; ");
        AudioUnitInitialize(unit);
    }
    EXPECT_EQ(unit->mRenders, 0);
    for (const OSStatus status : {-7, -8, 0}) {
        unit->mStatus = status;
        EXPECT_EQ(HostBuffers(2, 0).Pull(unit, 0, 0, status), status);
    }
    EXPECT_EQ(changes.Take(), "22 0 0: ; ");
    EXPECT_EQ(unit.LastError(), -7) << "the first failure";
    EXPECT_EQ(unit.LastError(), noErr);
}

// A listener that only counts: threads cannot share a text.
void CountChange(void* count, AudioUnit, AudioUnitPropertyID, AudioUnitScope, AudioUnitElement) {
    ++*static_cast<int*>(count);
}

TEST(RenderDriver, ListWhoseSizesAShortPullLoweredServesTheNextLongOne) {
    for (const UInt32 outputs : {1u, 2u}) {
        const InitializedInstrument unit({.outputs = outputs});
        HostBuffers host(2, 512);
        ASSERT_EQ(host.Pull(unit, 0, 64, 0), noErr);
        host.Buffer(0).mDataByteSize = host.Buffer(1).mDataByteSize = 64 * sizeof(Float32);
        ASSERT_EQ(host.Pull(unit, 0, 512, 64), noErr) << outputs;
        EXPECT_EQ(host.Memory(1)[511], TestInstrument::SampleOf(2, 0, 1));
        EXPECT_EQ(host.Buffer(1).mDataByteSize, 512 * sizeof(Float32));
        host.Buffer(0).mData = nullptr;
        ASSERT_EQ(host.Pull(unit, 0, 512, 576), noErr) << "takes the unit's memory";
        EXPECT_EQ(host.Sample(1, 511), TestInstrument::SampleOf(3, 0, 1));
        EXPECT_NE(host.Buffer(1).mData, host.Memory(1).data());
    }
}

struct Notified {
    std::vector<AudioUnitRenderActionFlags> flags;
    unsigned controlWord = 0;
    std::tuple<Float64, UInt32, UInt32, const AudioBufferList*> arguments;
};

OSStatus Note(void* userData, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* time,
              UInt32 bus, UInt32 frames, AudioBufferList* data) {
    auto& notified = *static_cast<Notified*>(userData);
    notified.flags.push_back(*flags);
    notified.controlWord = _mm_getcsr();
    notified.arguments = {time->mSampleTime, bus, frames, data};
    return -1;
}

TEST(RenderDriver, NotifiesBeforeAndAfterEveryPullWithTheHostsArguments) {
    const InitializedInstrument unit({.outputs = 2});
    Notified notified;
    EXPECT_EQ(AudioUnitAddRenderNotify(unit, Note, &notified), noErr);
    EXPECT_EQ(AudioUnitAddRenderNotify(unit, Note, &notified), noErr);
    HostBuffers buffers(2, 32);
    AudioUnitRenderActionFlags flags = kAudioUnitRenderAction_OutputIsSilence;
    const AudioTimeStamp time = AtSample(99);
    ASSERT_EQ(AudioUnitRender(unit, &flags, &time, 1, 32, buffers.Get()), noErr);
    EXPECT_THAT(notified.flags, ElementsAre(0x14, 0x18));
    EXPECT_EQ(flags, UInt32{kAudioUnitRenderAction_OutputIsSilence});
    EXPECT_EQ(notified.arguments, std::tuple(99, 1, 32, buffers.Get()));

    unit->mStatus = -5;
    EXPECT_EQ(buffers.Pull(unit, 1, 32, 100), -5);
    EXPECT_EQ(notified.flags.size(), 4u) << "a failed render is notified too";
    EXPECT_EQ(AudioUnitRemoveRenderNotify(unit, Note, &notified), noErr);
    EXPECT_EQ(buffers.Pull(unit, 1, 32, 101), -5);
    EXPECT_EQ(notified.flags.size(), 4u);
}

TEST(RenderDriver, FlushesDenormalsForThePullAndRestoresTheControlWordHoweverItEnds) {
    const InitializedInstrument unit;
    Notified notified;
    AudioUnitAddRenderNotify(unit, Note, &notified);
    const unsigned before = _mm_getcsr();
    constexpr unsigned kStatusFlags = 0x3F;
    const unsigned word = (before & ~(0x8040u | kStatusFlags)) | 0x6000; // rounds toward zero
    std::vector<std::pair<Raise, OSStatus>> cases = {{[] {}, noErr}, {[] {}, noErr}};
    cases.insert(cases.begin() + 1, std::begin(kFailures), std::end(kFailures));
    Float64 time = 0;
    for (const auto& [raise, status] : cases) {
        unit.Fail("Render", raise);
        HostBuffers buffers(2, 64);
        _mm_setcsr(word);
        const OSStatus pulled = buffers.Pull(unit, 0, 64, ++time);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(pulled, status);
        unit.Fail("", nullptr);
        EXPECT_EQ(notified.controlWord & ~kStatusFlags, word | 0x8040);
        EXPECT_EQ(after & ~kStatusFlags, word);
        EXPECT_EQ(unit.LastError(), status);
    }
}

TEST(RenderDriver, FrameLimitIsWrittenWhileUninitializedAndSizesTheBuffers) {
    OpenInstrument unit({.outputs = 2});
    constexpr AudioUnitPropertyID kLimit = kAudioUnitProperty_MaximumFramesPerSlice;
    for (const UInt32 limit : {UInt32{64}, UInt32{4000}}) {
        ASSERT_EQ(unit.Set(kLimit, kGlobal, 0, limit), noErr);
        ASSERT_EQ(AudioUnitInitialize(unit), noErr);
        EXPECT_EQ(unit.Set(kLimit, kGlobal, 0, UInt32{8}), kAudioUnitErr_Initialized);
        HostBuffers buffers(2, limit + 1);
        EXPECT_EQ(buffers.Pull(unit, 1, limit + 1, limit), kAudioUnitErr_TooManyFramesToProcess);
        EXPECT_EQ(buffers.Pull(unit, 1, limit, limit), noErr);
        EXPECT_NE(buffers.Memory(1)[limit - 1], HostBuffers::kUntouched);
        EXPECT_EQ(buffers.Memory(1)[limit], HostBuffers::kUntouched);
        unit->SetMaxFramesPerSlice(limit + 1);
        EXPECT_EQ(HostBuffers(2, limit + 1).Pull(unit, 1, limit + 1, -1.0 * limit), noErr)
            << "the unit may itself";
        ASSERT_EQ(AudioUnitUninitialize(unit), noErr);
    }
}

TEST(RenderDriver, BuffersFollowFormatAndBusCountWhileInitialized) {
    const InitializedInstrument unit;
    auto format = DefaultStreamFormat(2);
    format.mChannelsPerFrame = 6;
    ASSERT_EQ(unit.Set(kAudioUnitProperty_StreamFormat, kOutput, 0, format), noErr);
    ASSERT_EQ(unit.Set(kAudioUnitProperty_ElementCount, kOutput, 0, UInt32{3}), noErr);
    HostBuffers six(6, 64);
    HostBuffers two(2, 64);
    EXPECT_EQ(two.Pull(unit, 0, 64, 0), paramErr);
    EXPECT_EQ(six.Pull(unit, 0, 64, 0), noErr);
    EXPECT_EQ(two.Pull(unit, 2, 64, 0), noErr);
    EXPECT_EQ(six.Memory(5)[63], TestInstrument::SampleOf(1, 0, 5));
    EXPECT_EQ(two.Memory(1)[63], TestInstrument::SampleOf(1, 2, 1));

    format.mChannelsPerFrame = 0xFFFFFFFF;
    EXPECT_EQ(unit.Set(kAudioUnitProperty_StreamFormat, kOutput, 0, format), memFullErr);
    EXPECT_EQ(unit.Set(kAudioUnitProperty_ElementCount, kOutput, 0, UInt32{0xFFFFFFFF}),
              kAudioUnitErr_InvalidPropertyValue);
    EXPECT_EQ(six.Pull(unit, 0, 64, 64), noErr) << "what cannot be had changes nothing";
}

TEST(RenderDriver, ExternalBufferHoldsWhatTheUnitRenders) {
    OpenInstrument unit({.outputs = 2});
    alignas(16) static UInt8 block[2 * 4 * 2048];
    const AudioUnitExternalBuffer external{block, sizeof block};
    constexpr AudioUnitPropertyID kExternal = kAudioUnitProperty_SetExternalBuffer;
    EXPECT_EQ(unit.Set(kExternal, kOutput, 0, external), kAudioUnitErr_Uninitialized);
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    EXPECT_EQ(unit.Set(kExternal, kOutput, 0, AudioUnitExternalBuffer{block + 8, 64}), paramErr);
    ASSERT_EQ(unit.Set(kExternal, kOutput, 0, external), noErr);
    HostBuffers buffers(2, 64, false);
    ASSERT_EQ(buffers.Pull(unit, 0, 64, 0), noErr);
    EXPECT_EQ(buffers.Buffer(0).mData, block);
    EXPECT_EQ(unit.Set(kExternal, kOutput, 2, external), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(unit.Set(kExternal, kInput, 0, external), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(buffers.Sample(1, 63), TestInstrument::SampleOf(1, 0, 1));
}

struct Source {
    OSStatus status = noErr;
    UInt32 bus = 77, frames = 0;

    static OSStatus Give(void* self, AudioUnitRenderActionFlags*, const AudioTimeStamp*, UInt32 bus,
                         UInt32 frames, AudioBufferList* data) {
        Source& source = *static_cast<Source*>(self);
        source.bus = bus;
        source.frames = frames;
        std::memset(data->mBuffers[0].mData, 0, data->mBuffers[0].mDataByteSize);
        return source.status;
    }
};

/// A bus pulls what was set last, with buffers of its own for a callback alone.
TEST(RenderDriver, InputBusesPullTheirSource) {
    const InitializedInstrument from({.outputs = 2});
    OpenInstrument unit({.inputs = 2});
    const OpenInstrument first({.inputs = 2, .interfaceVersion = 1});
    Source source;
    const AURenderCallbackStruct callback = {Source::Give, &source};
    AUInputElement& input = unit->GetInput(1);
    const auto pull = [&](UInt32 frames) {
        AudioUnitRenderActionFlags flags = 0;
        return input.PullInput(flags, AtSample(frames), 1, frames);
    };
    EXPECT_EQ(pull(8), kAudioUnitErr_NoConnection);
    EXPECT_EQ(unit.Set(23, kInput, 1, callback), noErr);
    for (const UInt32 limit : {64u, 4096u}) {
        EXPECT_EQ(unit.Set(14, kGlobal, 0, limit), noErr);
        EXPECT_EQ(AudioUnitInitialize(unit), noErr);
        EXPECT_EQ(pull(limit), noErr);
        EXPECT_EQ(source.bus, 1u);
        EXPECT_EQ(input.GetBufferList().mBuffers[1].mDataByteSize, 4 * limit);
        AudioUnitUninitialize(unit);
    }
    AudioUnitInitialize(unit);
    source.status = -8;
    EXPECT_EQ(pull(16), -8);
    EXPECT_EQ(input.GetBuffers().GetState(), AUBufferList::kStateInvalid) << "nothing to read";
    EXPECT_EQ(unit.Set(1, kInput, 0, AudioUnitConnection{from, 1, 1}), noErr);
    EXPECT_FALSE(input.NeedsBufferSpace());
    EXPECT_EQ(pull(32), noErr);
    EXPECT_EQ(*static_cast<Float32*>(input.GetBufferList().mBuffers[1].mData),
              TestInstrument::SampleOf(1, 1, 1));
    EXPECT_EQ(source.frames, 16u);
    EXPECT_EQ(unit.Set(1, kInput, 0, AudioUnitConnection{nullptr, 0, 1}), noErr);
    EXPECT_EQ(pull(8), kAudioUnitErr_NoConnection);
    EXPECT_EQ(first.Set(23, kInput, 1, callback), kAudioUnitErr_PropertyNotWritable);
}

TEST(RenderDriver, HostThreadsChangeAndReadEverythingTheyMayWhileItRenders) {
    const InitializedInstrument unit({.outputs = 2});
    constexpr UInt32 kSpread = 2654435761u; // ids all over the map
    std::atomic<bool> rendering{true};
    std::array<UInt32, 2> inserted{};
    const auto insert = [&](UInt32& count) {
        for (; rendering; ++count) {
            const UInt32 id = count % 5000 * kSpread;
            EXPECT_EQ(AudioUnitSetParameter(unit, id, kGlobal, 0, 0.5f, 0), noErr);
        }
    };
    std::thread first(insert, std::ref(inserted[0]));
    std::thread second(insert, std::ref(inserted[1]));
    std::thread render([&] {
        HostBuffers buffers(2, 64);
        for (UInt32 pull = 0; pull < 4000; ++pull) {
            EXPECT_THAT(unit.Parameter(pull * kSpread), AnyOf(-1, 0.5f));
            EXPECT_EQ(buffers.Pull(unit, pull % 2, 64, pull / 2), noErr);
        }
        rendering = false;
    });
    Notified notified;
    notified.flags.reserve(10000);
    int changes = 0;
    constexpr AudioUnitPropertyID kError = kAudioUnitProperty_LastRenderError;
    constexpr AudioUnitPropertyID kList = kAudioUnitProperty_ParameterList;
    for (UInt32 round = 0; rendering; ++round) {
        AudioUnitAddRenderNotify(unit, Note, &notified);
        AudioUnitAddPropertyListener(unit, kError, CountChange, &changes);
        unit.Value<AudioStreamBasicDescription>(kAudioUnitProperty_StreamFormat, kOutput, 1);
        EXPECT_EQ(unit.LastError(), noErr);
        UInt32 size = 0;
        EXPECT_EQ(AudioUnitGetPropertyInfo(unit, kList, kGlobal, 0, &size, nullptr), noErr);
        std::vector<AudioUnitParameterID> ids(size / sizeof(AudioUnitParameterID) + 1, 77777);
        if (size > 0) {
            EXPECT_EQ(AudioUnitGetProperty(unit, kList, kGlobal, 0, ids.data(), &size), noErr);
        }
        EXPECT_EQ(ids.back(), 77777u) << "no id beyond the room";
        if (round % 8 == 0) {
            EXPECT_EQ(AudioUnitReset(unit, kGlobal, 0), noErr);
        }
        AudioUnitRemoveRenderNotify(unit, Note, &notified);
        AudioUnitRemovePropertyListener(unit, kError, CountChange);
    }
    render.join();
    first.join();
    second.join();
    for (UInt32 i = 0; i < std::min(std::ranges::max(inserted), 5000u); ++i) {
        EXPECT_EQ(unit.Parameter(i * kSpread), 0.5f) << i;
    }
}

} // namespace
} // namespace velnor::testing
