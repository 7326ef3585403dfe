#include "framework/tests/OpenInstrument.h"

namespace velnor::testing {
namespace {

using Event = AudioUnitParameterEvent;

Event Immediate(UInt32 offset, Float32 value, UInt32 scope = kGlobal, UInt32 element = 0,
                UInt32 id = 0) {
    Event event{scope, element, id, kParameterEvent_Immediate, {}};
    event.eventValues.immediate = {offset, value};
    return event;
}

Event Ramp(SInt32 offset, UInt32 duration, Float32 from, Float32 to) {
    Event event{kGlobal, 0, 0, kParameterEvent_Ramped, {}};
    event.eventValues.ramp = {offset, duration, from, to};
    return event;
}

OSStatus Schedule(AudioUnit unit, const std::vector<Event>& events) {
    return AudioUnitScheduleParameters(unit, events.data(), static_cast<UInt32>(events.size()));
}

std::vector<Event>& Pending(const OpenInstrument& unit) {
    return unit->GetPendingParameterEvents();
}

std::string TakeSlices() {
    return std::exchange(TestInstrument::sSlices, {});
}

TEST(ScheduledParameters, CutTheRenderWhereTheyBeginAndEnd) {
    // A slice is its start and frames, the frames of all, and the parameter's values at both ends.
    for (const auto& [events, frames, slices] : Rows<std::vector<Event>, UInt32, std::string>{
             {{}, 64, "0+64/64: 5 to 5; "},
             {{Immediate(0, 1)}, 64, "0+64/64: 1 to 1; "},
             {{Immediate(16, 1)}, 64, "0+16/64: 1 to 1; 16+48/64: 1 to 1; "},
             {{Immediate(64, 1), Immediate(0xFFFFFFFF, 2)}, 64, "0+64/64: 2 to 2; "},
             {{Immediate(8, 1), Immediate(8, 2)}, 64, "0+8/64: 2 to 2; 8+56/64: 2 to 2; "},
             {{Ramp(16, 48, 0, 3)}, 64, "0+16/64: 5 to 5; 16+48/64: 0 to 3; "},
             {{Ramp(32, 32, 1, 0), Ramp(0, 32, 0, 1)}, 64, "0+32/64: 0 to 1; 32+32/64: 1 to 0; "},
             {{Ramp(-32, 64, 0, 1)}, 16, "0+16/16: 0.5 to 0.75; "},
             {{Ramp(-32, 32, 0, 1)}, 16, "0+16/16: 5 to 5; "},
             {{Ramp(INT32_MAX, UINT32_MAX, 0, 1)}, 16, "0+16/16: 5 to 5; "},
             {{Ramp(INT32_MIN, UINT32_MAX, 0, 1)}, 1, "0+1/1: 0.5 to 0.5; "},
             {{Ramp(8, 0, 3, 4)}, 16, "0+8/16: 5 to 5; 8+8/16: 5 to 5; "},
             {{Ramp(0, 64, 0, 1), Immediate(16, 3)}, 64, "0+16/64: 0 to 0.25; 16+48/64: 3 to 3; "},
             {{Ramp(0, 32, 0, 1), Ramp(8, 56, 8, 64)},
              64,
              "0+8/64: 0 to 0.25; 8+24/64: 8 to 32; 32+32/64: 32 to 64; "}}) {
        const InitializedInstrument unit;
        unit->mRendersSlices = true;
        AudioUnitSetParameter(unit, 0, kGlobal, 0, 5, 0);
        ASSERT_EQ(Schedule(unit, events), noErr);
        ASSERT_EQ(HostBuffers(2, frames).Pull(unit, 0, frames, 0), noErr);
        EXPECT_EQ(TakeSlices(), slices);
        EXPECT_TRUE(Pending(unit).empty());
    }
}

TEST(ScheduledParameters, FailingSliceEndsTheRenderWithItsStatus) {
    const InitializedInstrument unit;
    unit->mRendersSlices = true;
    unit->mSliceStatus = -9;
    for (const auto& [events, slices] : Rows<std::vector<Event>, std::string>{
             {{Immediate(0, 1)}, "0+16/16: 1 to 1; "},
             {{Immediate(0, 1), Immediate(8, 2)}, "0+8/16: 1 to 1; "}}) {
        ASSERT_EQ(Schedule(unit, events), noErr);
        EXPECT_EQ(HostBuffers(2, 16).Pull(unit, 0, 16, static_cast<Float64>(events.size())), -9);
        EXPECT_EQ(TakeSlices(), slices);
        EXPECT_TRUE(Pending(unit).empty());
    }
}

TEST(ScheduledParameters, ImmediateOnesApplyAtOnceAndAllArePendingUntilTheRenderEnds) {
    const InitializedInstrument unit({.groups = 1});
    EXPECT_EQ(Schedule(unit, {Immediate(3, 0.5f), Ramp(0, 8, 0, 1)}), noErr);
    EXPECT_EQ(unit.Parameter(0), 0.5f);
    EXPECT_EQ(Pending(unit).size(), 2u);
    EXPECT_EQ(HostBuffers(2, 8).Pull(unit, 1, 8, 0), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(Pending(unit).size(), 2u) << "a refused pull is no render";
    EXPECT_EQ(HostBuffers(2, 8).Pull(unit, 0, 8, 0), noErr);
    EXPECT_TRUE(Pending(unit).empty());

    EXPECT_EQ(Schedule(unit, {Immediate(0, 1, kGroup), Immediate(0, 0.75f)}),
              kAudioUnitErr_InvalidScope);
    EXPECT_EQ(unit.Parameter(0), 0.75f)
        << "one that fails does not keep the others from their places";
    EXPECT_EQ(Schedule(unit, {Immediate(0, 1, kGlobal, 1)}), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(AudioUnitScheduleParameters(unit, nullptr, 1), paramErr);
}

TEST(ScheduledParameters, ReservedRoomIsKeptAndMoreThanItHoldsIsNotLost) {
    const InitializedInstrument unit;
    unit->mRendersSlices = true;
    const Event* const room = Pending(unit).data();
    for (int render = 0; render < 3; ++render) {
        ASSERT_EQ(Schedule(unit, std::vector<Event>(kReservedParameterEvents, Immediate(0, 1))),
                  noErr);
        EXPECT_EQ(Pending(unit).data(), room);
        ASSERT_EQ(HostBuffers(2, 64).Pull(unit, 0, 64, render), noErr);
    }
    TakeSlices();
    std::vector<Event> many;
    for (UInt32 i = 60; i > 0; --i) {
        many.push_back(Immediate(i, static_cast<Float32>(i)));
    }
    ASSERT_EQ(Schedule(unit, many), noErr);
    ASSERT_EQ(HostBuffers(2, 64).Pull(unit, 0, 64, 9), noErr);
    const std::string slices = TakeSlices();
    EXPECT_EQ(std::ranges::count(slices, ';'), 61);
    EXPECT_THAT(slices, EndsWith("60+4/64: 60 to 60; "));
}

} // namespace
} // namespace velnor::testing
