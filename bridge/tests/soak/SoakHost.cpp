#include "bridge/tests/soak/SoakHost.h"

#include "platform/CFRef.h"
#include "platform/EventLoop.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <utility>

namespace velnor::testing {

namespace {

constexpr double kRates[] = {22050.0, 44100.0, 48000.0, 88200.0, 96000.0};
constexpr int kNumbers[] = {6, 6, 38, 98, 98, 99, 100, 101}; // data entry, (non-)registered ones
constexpr UInt32 kSlices[] = {1, 16, 64, 137, 512, 1024, 4096};

CFRef<CFPropertyListRef> stateOf(Instrument& instrument) {
    CFPropertyListRef state = nullptr;
    EXPECT_EQ(instrument.get(kAudioUnitProperty_ClassInfo, state), noErr);
    return CFRef<CFPropertyListRef>(state);
}

} // namespace

SoakHost::SoakHost(std::string bundle, std::uint64_t seed, bool checkEvents)
    : mBundle(std::move(bundle)), mCheckEvents(checkEvents), mRandom(seed) {}

SoakHost::~SoakHost() {
    close();
}

// Not a standard distribution: those differ between libraries, and a seed must mean one run.
int SoakHost::pick(int low, int high) {
    return low + static_cast<int>(mRandom() % static_cast<std::uint64_t>(high - low + 1));
}

void SoakHost::playSession() {
    if (!mInstrument) {
        mInstrument = std::make_unique<Instrument>(mBundle);
    }
    setUp();
    ASSERT_EQ(mInstrument->initialize(), noErr);
    mExpected.clear();
    mPeak = 0.0F;
    const double begin = mSeconds;
    for (int block = pick(20, 400); block > 0 && !::testing::Test::HasFailure(); --block) {
        const auto frames = static_cast<UInt32>(pick(1, static_cast<int>(mMostFrames)));
        sendEvents(frames);
        disturb();
        pull(frames);
    }
    EXPECT_EQ(mInstrument->uninitialize(), noErr);
    mLongSessions += mSeconds - begin > 1.0;
    mSoundingSessions += mSeconds - begin > 1.0 && mPeak > 1e-4F;
    if (!oneIn(3)) {
        close();
    }
}

void SoakHost::setUp() {
    mRate = kRates[pick(0, std::size(kRates) - 1)];
    mMostFrames = kSlices[pick(0, std::size(kSlices) - 1)];
    mChannels.assign(static_cast<std::size_t>(pick(1, 4)), 2);
    ASSERT_EQ(mInstrument->setBusCount(static_cast<UInt32>(mChannels.size())), noErr);
    for (UInt32 bus = 0; bus < mChannels.size(); ++bus) {
        if (mCheckEvents) {
            mChannels[bus] = static_cast<UInt32>(pick(1, 4));
        }
        ASSERT_EQ(mInstrument->setFormat(bus, mChannels[bus], mRate), noErr);
    }
    ASSERT_EQ(mInstrument->set(kAudioUnitProperty_MaximumFramesPerSlice, mMostFrames), noErr);
}

void SoakHost::sendEvents(UInt32 frames) {
    for (int count = oneIn(50) ? pick(200, 1000) : pick(0, 6); count > 0; --count) {
        const int kind = pick(8, 14);
        // Parameter numbers change a synthesizer's insides, and are rare among any controllers.
        const bool isNumber = kind == 11 && oneIn(3);
        const int data1 = isNumber ? kNumbers[pick(0, std::size(kNumbers) - 1)] : pick(0, 127);
        const int data2 = data1 == 99 && oneIn(2) ? 120 : pick(0, 127);
        const MIDIEvent event = {{static_cast<UInt8>(kind << 4 | pick(0, 15)),
                                  static_cast<UInt8>(data1), static_cast<UInt8>(data2), 0},
                                 pick(0, static_cast<int>(frames) - 1),
                                 0,
                                 0,
                                 0,
                                 {}};
        mExpected.insert(
            std::upper_bound(mExpected.begin(), mExpected.end(), event,
                             [](const auto& a, const auto& b) { return a.offset < b.offset; }),
            event);
        EXPECT_EQ(mInstrument->sendMidi(event.data[0], event.data[1], event.data[2], event.offset),
                  noErr);
    }
}

void SoakHost::pull(UInt32 frames) {
    for (UInt32 bus = 0; bus < mChannels.size(); ++bus) {
        const auto audio = mInstrument->pull(bus, mChannels[bus], frames, mSampleTime);
        ASSERT_EQ(audio.status, noErr);
        for (const auto& channel : audio.channels) {
            for (const float sample : channel) {
                ASSERT_LT(std::fabs(sample), 50.0F);
                mPeak = std::max(mPeak, std::fabs(sample));
            }
        }
    }
    if (mCheckEvents) {
        checkBlock(frames);
    }
    mEvents += mExpected.size();
    mExpected.clear();
    mSampleTime += frames;
    mSeconds += frames / mRate;
    ++mBlocks;
}

// One process call for all buses, with every message once, in order.
void SoakHost::checkBlock(UInt32 frames) {
    const auto calls = callsOf(kOpProcess);
    ASSERT_EQ(calls.size(), 1U) << "block " << mBlocks;
    ASSERT_EQ(static_cast<UInt32>(calls[0].words[5]), frames);
    const auto same = [](const MIDIEvent& a, const MIDIEvent& b) {
        return std::memcmp(&a, &b, offsetof(MIDIEvent, unused)) == 0;
    };
    ASSERT_TRUE(std::ranges::equal(eventsOf(calls[0]), mExpected, same)) << "block " << mBlocks;
    freshProbe();
}

void SoakHost::disturb() {
    if (oneIn(40)) {
        EXPECT_EQ(AudioUnitReset(mInstrument->unit(), kAudioUnitScope_Global, 0), noErr);
        mExpected.clear();
    }
    if (oneIn(40)) {
        EXPECT_EQ(mInstrument->setOffline(static_cast<UInt32>(pick(0, 1))), noErr);
    }
    if (oneIn(40)) {
        saveAndRestore();
    }
    if (mEditor && oneIn(60)) {
        mEditor.reset();
    } else if (!mEditor && oneIn(60)) {
        EXPECT_EQ(mEditor.emplace().Show(mInstrument->view(), mInstrument->unit()), noErr);
    }
    if (mEditor && oneIn(4)) {
        PlatformAdvanceEventLoop(0.05);
    }
}

void SoakHost::saveAndRestore() {
    const CFRef<CFPropertyListRef> state = stateOf(*mInstrument);
    CFPropertyListRef value = state.Get();
    EXPECT_EQ(mInstrument->set(kAudioUnitProperty_ClassInfo, value), noErr);
    EXPECT_TRUE(CFEqual(stateOf(*mInstrument).Get(), value));
}

void SoakHost::close() {
    mEditor.reset();
    mInstrument.reset();
    freshProbe();
}

} // namespace velnor::testing
