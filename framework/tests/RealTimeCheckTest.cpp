// The check of the render road at run time bites where a host's calls end: in the instrument.
#include "framework/tests/OpenInstrument.h"

namespace velnor::testing {
namespace {

constexpr char kReport[] = "RealtimeSanitizer: unsafe-library-call";

TEST(RealTimeDeathTest, AllocationIsReportedBySelectorAndFastEntryAfterAFailureToo) {
#if !defined(VELNOR_REALTIME_SANITIZER)
    GTEST_SKIP() << "needs the realtime sanitizer";
#endif
    const InitializedInstrument unit;
    constexpr auto kFast = kAudioUnitProperty_FastDispatch;
    const auto render = unit.Value<AudioUnitRenderProc>(kFast, kGlobal, kAudioUnitRenderSelect);
    const auto midi =
        unit.Value<MusicDeviceMIDIEventProc>(kFast, kGlobal, kMusicDeviceMIDIEventSelect);
    HostBuffers buffers(2, 64);
    Float64 now = 0;
    const auto pullFast = [&] {
        const AudioTimeStamp time = AtSample(++now);
        return render(unit.Storage(), nullptr, &time, 0, 64, buffers.Get());
    };
    for (const auto& [raise, status] : kFailures) {
        unit.Fail("Render", raise);
        EXPECT_EQ(buffers.Pull(unit, 0, 64, ++now), status);
        EXPECT_EQ(pullFast(), status);
    }
    unit.Fail("", nullptr);
    std::free(std::malloc(static_cast<std::size_t>(getpid()))); // the road ends with the pull
    unit->mAllocates = true;
    EXPECT_DEATH(buffers.Pull(unit, 0, 64, ++now), kReport);
    EXPECT_DEATH(pullFast(), kReport);
    EXPECT_DEATH(MusicDeviceMIDIEvent(unit, 0x90, 60, 100, 0), kReport);
    EXPECT_DEATH(midi(unit.Storage(), 0x90, 60, 100, 0), kReport);
}

} // namespace
} // namespace velnor::testing
