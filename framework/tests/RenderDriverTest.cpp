#include "framework/tests/TestInstrument.h"

#include <xmmintrin.h>

namespace velnor {
namespace {

/// The last render error, which reading takes.
OSStatus LastError(const OpenInstrument& unit) {
    return unit.Value<OSStatus>(kAudioUnitProperty_LastRenderError);
}

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
    ASSERT_EQ(AudioUnitReset(unit, kGlobal, 0), noErr);
    EXPECT_EQ(HostBuffers(2, 64).Pull(unit, 0, 64, 64), noErr);
    EXPECT_EQ(unit->mRenders, 5) << "a reset forces the next pull to render";
}

TEST(RenderDriver, SingleBusRendersStraightIntoTheHostsBuffers) {
    const InitializedInstrument unit;
    HostBuffers host(2, 100);
    ASSERT_EQ(host.Pull(unit, 0, 64, 0), noErr);
    EXPECT_EQ(host.Memory(1)[63], TestInstrument::SampleOf(1, 0, 1));
    EXPECT_EQ(host.Buffer(1).mData, host.Memory(1).data());
    EXPECT_EQ(unit->GetOutput(0).GetBuffers().GetState(), AUBufferList::kStateInvalid);

    HostBuffers none(2, 64, false);
    ASSERT_EQ(none.Pull(unit, 0, 64, 64), noErr);
    EXPECT_EQ(none.Sample(1, 63), TestInstrument::SampleOf(2, 0, 1));
    EXPECT_EQ(unit->GetOutput(0).GetBufferList().mBuffers[0].mData, none.Buffer(0).mData);
}

TEST(RenderDriver, RefusedPullTouchesNothingAndIsTheLastRenderErrorUntilItIsRead) {
    OpenInstrument unit({.outputs = 2});
    int changes = 0;
    AudioUnitAddPropertyListener(unit, kAudioUnitProperty_LastRenderError, CountChange, &changes);
    const auto expect = [&](OSStatus status, HostBuffers buffers, UInt32 bus, UInt32 frames) {
        EXPECT_EQ(buffers.Pull(unit, bus, frames, 0), status);
        EXPECT_EQ(buffers.Memory(0)[0], HostBuffers::kUntouched);
        EXPECT_EQ(LastError(unit), status);
        EXPECT_EQ(LastError(unit), noErr);
    };
    expect(kAudioUnitErr_Uninitialized, {2, 64}, 0, 64);
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    expect(kAudioUnitErr_TooManyFramesToProcess, {2, 64}, 0, 0xFFFFFFFF);
    expect(kAudioUnitErr_InvalidElement, {2, 64}, 2, 64);
    expect(paramErr, {1, 64}, 0, 64);
    expect(paramErr, {3, 64}, 1, 64);
    expect(paramErr, {2, 63}, 0, 64);
    HostBuffers mixed(2, 64);
    mixed.Buffer(1).mData = nullptr;
    expect(paramErr, std::move(mixed), 0, 64);
    EXPECT_EQ(changes, 7);
    EXPECT_EQ(unit->mRenders, 0);
    for (const OSStatus status : {-7, -8, 0}) {
        unit->mStatus = status;
        EXPECT_EQ(HostBuffers(2, 0).Pull(unit, 0, 0, status), status);
    }
    EXPECT_EQ(LastError(unit), -7) << "the first failure";
    EXPECT_EQ(LastError(unit), noErr);
}

struct Notified {
    std::vector<AudioUnitRenderActionFlags> flags;
    unsigned controlWord = 0;
    AudioTimeStamp time{};
    UInt32 bus = 0, frames = 0;
    const AudioBufferList* data = nullptr;
};

OSStatus Note(void* userData, AudioUnitRenderActionFlags* flags, const AudioTimeStamp* time,
              UInt32 bus, UInt32 frames, AudioBufferList* data) {
    auto& notified = *static_cast<Notified*>(userData);
    notified.flags.push_back(*flags);
    notified.controlWord = _mm_getcsr();
    notified.time = *time;
    notified.bus = bus;
    notified.frames = frames;
    notified.data = data;
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
    EXPECT_EQ(notified.flags, (std::vector<AudioUnitRenderActionFlags>{0x14, 0x18}));
    EXPECT_EQ(flags, UInt32{kAudioUnitRenderAction_OutputIsSilence});
    EXPECT_EQ(notified.time.mSampleTime, 99);
    EXPECT_EQ(notified.bus, 1u);
    EXPECT_EQ(notified.frames, 32u);
    EXPECT_EQ(notified.data, buffers.Get());

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
    std::vector<std::pair<Raise, OSStatus>> cases = {{RaiseNothing, noErr}, {RaiseNothing, noErr}};
#if !defined(VELNOR_REALTIME_SANITIZER) // which a throw switches off
    cases.insert(cases.begin() + 1, std::begin(kFailures), std::end(kFailures));
#endif
    Float64 time = 0;
    for (const auto& [raise, status] : cases) {
        unit->mRaise = raise;
        HostBuffers buffers(2, 64);
        _mm_setcsr(word);
        const OSStatus pulled = buffers.Pull(unit, 0, 64, ++time);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(pulled, status);
        unit->mRaise = RaiseNothing;
        EXPECT_EQ(notified.controlWord & ~kStatusFlags, word | 0x8040);
        EXPECT_EQ(after & ~kStatusFlags, word);
        EXPECT_EQ(LastError(unit), status);
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
    ASSERT_EQ(unit.Set(kAudioUnitProperty_ElementCount, kOutput, 0, UInt32{1}), noErr);
    EXPECT_EQ(two.Pull(unit, 2, 64, 128), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(six.Pull(unit, 0, 64, 128), noErr);
}

TEST(RenderDriver, ExternalBufferHoldsWhatTheUnitRenders) {
    OpenInstrument unit({.outputs = 2});
    alignas(16) static UInt8 block[2 * 4 * 2048];
    const AudioUnitExternalBuffer external{block, sizeof block};
    constexpr AudioUnitPropertyID kExternal = kAudioUnitProperty_SetExternalBuffer;
    EXPECT_EQ(unit.Set(kExternal, kOutput, 0, external), kAudioUnitErr_Uninitialized);
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    EXPECT_EQ(unit.Set(kExternal, kOutput, 0, AudioUnitExternalBuffer{block + 4, 64}), paramErr);
    ASSERT_EQ(unit.Set(kExternal, kOutput, 0, external), noErr);
    HostBuffers buffers(2, 64, false);
    ASSERT_EQ(buffers.Pull(unit, 0, 64, 0), noErr);
    EXPECT_EQ(buffers.Buffer(0).mData, block);
    EXPECT_EQ(unit.Set(kExternal, kOutput, 2, external), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(unit.Set(kExternal, kInput, 0, external), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(buffers.Sample(1, 63), TestInstrument::SampleOf(1, 0, 1));
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
        EXPECT_EQ(LastError(unit), noErr);
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
} // namespace velnor
