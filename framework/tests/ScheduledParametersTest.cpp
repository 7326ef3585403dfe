#include "framework/tests/HostBuffers.h"
#include "framework/tests/TestInstrument.h"

#include <gtest/gtest.h>

#include <vector>

namespace velnor {
namespace {

using Event = AudioUnitParameterEvent;
using Slice = TestInstrument::Slice;

constexpr UInt32 kGlobal = kAudioUnitScope_Global;

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

struct Peek : TestInstrument {
    using AUBase::GetPendingParameterEvents;
};

std::vector<Event>& Pending(const OpenInstrument& unit) {
    return ((*unit).*(&Peek::GetPendingParameterEvents))();
}

std::vector<Slice> Expected(UInt32 total, std::vector<Slice> slices) {
    for (Slice& slice : slices) {
        slice.total = total;
    }
    return slices;
}

TEST(ScheduledParameters, CutTheRenderWhereTheyBeginAndEnd) {
    struct Case {
        std::vector<Event> events;
        UInt32 frames;
        std::vector<Slice> slices;
    };
    const std::vector<Case> cases = {
        {{}, 64, {{0, 64, 0, 5, 5}}},
        {{Immediate(0, 1)}, 64, {{0, 64, 0, 1, 1}}},
        {{Immediate(16, 1)}, 64, {{0, 16, 0, 1, 1}, {16, 48, 0, 1, 1}}},
        {{Immediate(64, 1), Immediate(0xFFFFFFFF, 2)}, 64, {{0, 64, 0, 2, 2}}},
        {{Immediate(8, 1), Immediate(8, 2)}, 64, {{0, 8, 0, 2, 2}, {8, 56, 0, 2, 2}}},
        {{Ramp(16, 48, 0, 3)}, 64, {{0, 16, 0, 5, 5}, {16, 48, 0, 0, 3}}},
        {{Ramp(32, 32, 1, 0), Ramp(0, 32, 0, 1)}, 64, {{0, 32, 0, 0, 1}, {32, 32, 0, 1, 0}}},
        {{Ramp(-32, 64, 0, 1)}, 16, {{0, 16, 0, 0.5f, 0.75f}}},
        {{Ramp(-32, 32, 0, 1)}, 16, {{0, 16, 0, 5, 5}}},
        {{Ramp(INT32_MAX, UINT32_MAX, 0, 1)}, 16, {{0, 16, 0, 5, 5}}},
        {{Ramp(INT32_MIN, UINT32_MAX, 0, 1)}, 1, {{0, 1, 0, 0.5f, 0.5f}}},
        {{Ramp(8, 0, 3, 4)}, 16, {{0, 8, 0, 5, 5}, {8, 8, 0, 5, 5}}},
        {{Ramp(0, 64, 0, 1), Immediate(16, 3)}, 64, {{0, 16, 0, 0, 0.25f}, {16, 48, 0, 3, 3}}},
        {{Ramp(0, 32, 0, 1), Ramp(8, 56, 8, 64)},
         64,
         {{0, 8, 0, 0, 0.25f}, {8, 24, 0, 8, 32}, {32, 32, 0, 32, 64}}},
    };
    for (const Case& c : cases) {
        OpenInstrument unit;
        unit->mRendersSlices = true;
        ASSERT_EQ(AudioUnitInitialize(unit), noErr);
        AudioUnitSetParameter(unit, 0, kGlobal, 0, 5, 0);
        ASSERT_EQ(Schedule(unit, c.events), noErr);
        ASSERT_EQ(HostBuffers(2, c.frames).Pull(unit, 0, c.frames, 0), noErr);
        EXPECT_EQ(unit->mSlices, Expected(c.frames, c.slices)) << &c - cases.data();

        unit->mSlices.clear();
        ASSERT_EQ(HostBuffers(2, 8).Pull(unit, 0, 8, 64), noErr);
        EXPECT_EQ(unit->mSlices.size(), 1u) << "events count for one render";
    }
}

TEST(ScheduledParameters, FailingSliceEndsTheRenderWithItsStatus) {
    OpenInstrument unit;
    unit->mRendersSlices = true;
    unit->mSliceStatus = -9;
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    ASSERT_EQ(Schedule(unit, {Immediate(0, 1), Immediate(8, 2)}), noErr);
    EXPECT_EQ(HostBuffers(2, 16).Pull(unit, 0, 16, 0), -9);
    EXPECT_EQ(unit->mSlices.size(), 1u);
    EXPECT_TRUE(Pending(unit).empty());
}

TEST(ScheduledParameters, ImmediateOnesApplyAtOnceAndAllArePendingUntilTheRenderEnds) {
    OpenInstrument unit({.outputs = 1, .groups = 1});
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    EXPECT_EQ(Schedule(unit, {Immediate(3, 0.5f), Ramp(0, 8, 0, 1)}), noErr);
    Float32 value = 0;
    EXPECT_EQ(AudioUnitGetParameter(unit, 0, kGlobal, 0, &value), noErr);
    EXPECT_EQ(value, 0.5f);
    EXPECT_EQ(Pending(unit).size(), 2u);
    EXPECT_EQ(HostBuffers(2, 8).Pull(unit, 1, 8, 0), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(Pending(unit).size(), 2u) << "a refused pull is no render";
    EXPECT_EQ(HostBuffers(2, 8).Pull(unit, 0, 8, 0), noErr);
    EXPECT_TRUE(Pending(unit).empty());

    EXPECT_EQ(Schedule(unit, {Immediate(0, 1, kAudioUnitScope_Group), Immediate(0, 0.75f)}),
              kAudioUnitErr_InvalidScope);
    EXPECT_EQ(AudioUnitGetParameter(unit, 0, kGlobal, 0, &value), noErr);
    EXPECT_EQ(value, 0.75f) << "one that fails does not keep the others from their places";
    EXPECT_EQ(Schedule(unit, {Immediate(0, 1, kGlobal, 1)}), kAudioUnitErr_InvalidElement);
    EXPECT_EQ(AudioUnitScheduleParameters(unit, nullptr, 1), paramErr);
}

TEST(ScheduledParameters, ReservedRoomIsKeptAndMoreThanItHoldsIsNotLost) {
    OpenInstrument unit;
    unit->mRendersSlices = true;
    ASSERT_EQ(AudioUnitInitialize(unit), noErr);
    const Event* const room = Pending(unit).data();
    for (int render = 0; render < 3; ++render) {
        ASSERT_EQ(Schedule(unit, std::vector<Event>(kReservedParameterEvents, Immediate(0, 1))),
                  noErr);
        EXPECT_EQ(Pending(unit).data(), room);
        ASSERT_EQ(HostBuffers(2, 64).Pull(unit, 0, 64, render), noErr);
    }
    unit->mSlices.clear();
    std::vector<Event> many;
    for (UInt32 i = 60; i > 0; --i) {
        many.push_back(Immediate(i, static_cast<Float32>(i)));
    }
    ASSERT_EQ(Schedule(unit, many), noErr);
    ASSERT_EQ(HostBuffers(2, 64).Pull(unit, 0, 64, 9), noErr);
    ASSERT_EQ(unit->mSlices.size(), 61u);
    EXPECT_EQ(unit->mSlices[60], (Slice{60, 4, 64, 60, 60}));
}

} // namespace
} // namespace velnor
