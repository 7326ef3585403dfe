// The check of the render road at run time bites where a host's calls end: in the instrument.
#include "framework/tests/TestInstrument.h"

#include <cstdlib>
#include <mutex>
#include <unistd.h>

namespace velnor::testing {
namespace {

/// Promises what it does not keep.
class BlockingInstrument : public TestInstrument {
public:
    using TestInstrument::TestInstrument;
    OSStatus Render(AudioUnitRenderActionFlags& ioFlags, const AudioTimeStamp& inTime,
                    UInt32 inFrames) VELNOR_NONBLOCKING override {
        if (mAllocates) {
            std::free(std::malloc(static_cast<std::size_t>(getpid())));
        }
        return TestInstrument::Render(ioFlags, inTime, inFrames);
    }
    OSStatus HandleMidiEvent(UInt8, UInt8, UInt8, UInt8, long) VELNOR_NONBLOCKING override {
        const std::lock_guard lock(mMutex);
        return noErr;
    }
    bool mAllocates = false;

private:
    std::mutex mMutex;
};

class RealTimeDeathTest : public ::testing::Test {
protected:
    void SetUp() override {
#if !defined(VELNOR_REALTIME_SANITIZER)
        GTEST_SKIP() << "needs the realtime sanitizer";
#endif
        static const ComponentDescription kCodes = {kAudioUnitType_MusicDevice,
                                                    VELNOR_FOUR_CHAR_CODE('B', 'l', 'c', 'k'),
                                                    kTestManufacturer, 0, 0};
        static const Component kRegistration = PlatformRegisterComponentEntry(
            &kCodes, ComponentEntryPoint<BlockingInstrument>::Dispatch, "Blocking", 1);
        TestInstrument::sShape = {};
        ASSERT_EQ(PlatformOpenComponent(kRegistration, &mUnit), noErr);
        ASSERT_EQ(AudioUnitInitialize(mUnit), noErr);
        mInstrument = static_cast<BlockingInstrument*>(
            static_cast<ComponentBase*>(GetComponentInstanceStorage(mUnit)));
    }
    void TearDown() override { CloseComponent(mUnit); }

    template <typename Proc>
    Proc FastEntry(SInt16 inSelector) const {
        Proc proc = nullptr;
        UInt32 size = sizeof proc;
        EXPECT_EQ(AudioUnitGetProperty(mUnit, kAudioUnitProperty_FastDispatch, kGlobal,
                                       static_cast<AudioUnitElement>(inSelector), &proc, &size),
                  noErr);
        return proc;
    }
    OSStatus PullByFastEntry() {
        const AudioTimeStamp time = AtSample(++mTime);
        return FastEntry<AudioUnitRenderProc>(kAudioUnitRenderSelect)(
            GetComponentInstanceStorage(mUnit), nullptr, &time, 0, 64, mBuffers.Get());
    }

    AudioUnit mUnit = nullptr;
    BlockingInstrument* mInstrument = nullptr;
    Float64 mTime = 0;
    HostBuffers mBuffers{2, 64};
};

constexpr char kReport[] = "RealtimeSanitizer: unsafe-library-call";

TEST_F(RealTimeDeathTest, AllocationInRenderIsReportedBySelectorAndFastEntryAfterAFailureToo) {
    for (const auto& [raise, status] : kFailures) {
        mInstrument->mFailsIn = "Render";
        mInstrument->mRaise = raise;
        EXPECT_EQ(mBuffers.Pull(mUnit, 0, 64, ++mTime), status);
        EXPECT_EQ(PullByFastEntry(), status);
    }
    std::free(std::malloc(static_cast<std::size_t>(getpid()))); // the road ends with the pull
    mInstrument->mFailsIn = "";
    mInstrument->mAllocates = true;
    EXPECT_DEATH(mBuffers.Pull(mUnit, 0, 64, ++mTime), kReport);
    EXPECT_DEATH(PullByFastEntry(), kReport);
}

TEST_F(RealTimeDeathTest, LockInTheMidiIntakeIsReportedBySelectorAndFastEntry) {
    EXPECT_DEATH(MusicDeviceMIDIEvent(mUnit, 0x90, 60, 100, 0), kReport);
    const auto proc = FastEntry<MusicDeviceMIDIEventProc>(kMusicDeviceMIDIEventSelect);
    EXPECT_DEATH(proc(GetComponentInstanceStorage(mUnit), 0x90, 60, 100, 0), kReport);
}

} // namespace
} // namespace velnor::testing
