#include "framework/tests/OpenInstrument.h"

namespace velnor::testing {
namespace {

TEST(Dispatch, EachSelectorIsCountedFromItsInterfaceVersionOn) {
    const OpenInstrument second;
    const OpenInstrument first({.interfaceVersion = 1});
    for (int selector = -6; selector < 0x400; ++selector) {
        const auto what = static_cast<SInt16>(selector);
        const bool always = (selector >= -4 && selector <= -1) ||
                            (selector >= 1 && selector <= 7) || (selector >= 9 && selector <= 11);
        const bool rendering = selector >= 14 && selector <= 17;
        EXPECT_EQ(ComponentFunctionImplemented(second, what), always || rendering) << selector;
        EXPECT_EQ(ComponentFunctionImplemented(first, what), always) << selector;
    }
    const AudioUnitParameterEvent event = {};
    EXPECT_EQ(AudioUnitScheduleParameters(first, &event, 1), badComponentSelector);
}

TEST(Dispatch, FailuresOfEachKindBecomeStatusesAndLeaveTheUnitAsItWas) {
    for (const auto& [raise, status] : kFailures) {
        for (const char* place : {"constructor", "PostConstructor"}) {
            const OpenInstrument unit({.failsIn = place, .raise = raise});
            EXPECT_EQ(unit.GetOpenStatus(), status) << place;
            EXPECT_EQ(static_cast<AudioUnit>(unit), nullptr);
        }
        OpenInstrument unit;
        unit.Fail("Reset", raise);
        EXPECT_EQ(AudioUnitReset(unit, 2, 1), status);
        EXPECT_EQ(TakeCalls(), "Reset 2 1; ");
        for (const char* place : {"Initialize", "ReallocateBuffers"}) {
            unit.Fail(place, raise);
            EXPECT_EQ(AudioUnitInitialize(unit), status) << place;
            EXPECT_FALSE(unit->IsInitialized()) << place;
        }
        EXPECT_EQ(TakeCalls(), "Initialize; Initialize; ReallocateBuffers; Cleanup; ");
        unit.Fail("Cleanup", raise);
        EXPECT_EQ(AudioUnitInitialize(unit), noErr);
        EXPECT_EQ(AudioUnitUninitialize(unit), status);
        EXPECT_FALSE(unit->IsInitialized()) << "what fails to clean up is over even so";
        EXPECT_EQ(AudioUnitInitialize(unit), noErr);
        EXPECT_EQ(unit.Close(), status);
    }
    EXPECT_EQ(TestInstrument::sLive, 0);
    EXPECT_EQ(CountComponentInstances(OpenInstrument::kRegistration), 0);
}

TEST(Dispatch, ParametersAreStoredByElement) {
    const OpenInstrument byId({.outputs = 2, .groups = 16});
    const OpenInstrument indexed({.indexedParameters = 3});
    EXPECT_EQ(AudioUnitSetParameter(byId, 7, kGlobal, 0, 0.25f, 99), noErr);
    EXPECT_EQ(AudioUnitSetParameter(byId, 7, kOutput, 1, 0.75f, 99), noErr);
    EXPECT_EQ(byId.Parameter(7), 0.25f);
    EXPECT_EQ(byId.Parameter(7, kOutput, 1), 0.75f);
    EXPECT_EQ(indexed.Parameter(2), 0);
    EXPECT_EQ(AudioUnitSetParameter(indexed, 2, kGlobal, 0, 4, 0), noErr);
    EXPECT_EQ(indexed.Parameter(2), 4);
    Float32 value = 0;
    for (const auto& [unit, id, scope, element, get, set] :
         Rows<const OpenInstrument&, UInt32, UInt32, UInt32, OSStatus, OSStatus>{
             {byId, 8, 0, 0, kAudioUnitErr_InvalidParameter, noErr},
             {byId, 7, 2, 5, kAudioUnitErr_InvalidElement, kAudioUnitErr_InvalidElement},
             {byId, 7, 3, 0, kAudioUnitErr_InvalidScope, kAudioUnitErr_InvalidScope},
             {byId, 7, 5, 0, kAudioUnitErr_InvalidScope, kAudioUnitErr_InvalidScope},
             {indexed, 3, 0, 0, kAudioUnitErr_InvalidParameter, kAudioUnitErr_InvalidParameter}}) {
        EXPECT_EQ(AudioUnitGetParameter(unit, id, scope, element, &value), get) << scope;
        EXPECT_EQ(AudioUnitSetParameter(unit, id, scope, element, 1, 0), set) << scope;
    }
    EXPECT_EQ(AudioUnitGetParameter(byId, 7, 0, 0, nullptr), paramErr);
}

} // namespace
} // namespace velnor::testing
