#include "framework/tests/OpenInstrument.h"
#include "platform/ComponentParameterBlock.h"

namespace velnor::testing {
namespace {

constexpr auto kEntry = ComponentEntryPoint<TestInstrument>::Dispatch;

TEST(Dispatch, EachSelectorIsServedByItsLayerAndCountedFromItsInterfaceVersionOn) {
    const OpenInstrument second;
    const OpenInstrument first({.interfaceVersion = 1});
    for (int selector = -6; selector < 0x400; ++selector) {
        const auto what = static_cast<SInt16>(selector);
        const bool component = selector >= -4 && selector <= -1;
        const bool always =
            component || (selector >= 1 && selector <= 7) || (selector >= 9 && selector <= 11);
        const bool rendering = selector >= 14 && selector <= 17;
        const bool served = always || rendering || (selector >= 0x101 && selector <= 0x106);
        const bool takesNothing = selector == 1 || selector == 2 || (component && selector != -3);
        EXPECT_EQ(ComponentFunctionImplemented(second, what), always || rendering) << selector;
        EXPECT_EQ(ComponentFunctionImplemented(first, what), always) << selector;
        auto full = encode(what, 0, 0, 0, 0, 0);
        EXPECT_EQ(kEntry(full.Get(), nullptr), paramErr) << selector;
        auto empty = encode(what);
        if (!takesNothing) {
            EXPECT_EQ(kEntry(empty.Get(), second.Storage()),
                      served ? OSStatus{paramErr} : OSStatus{badComponentSelector})
                << selector;
        }
    }
    const AudioUnitParameterEvent event = {};
    EXPECT_EQ(AudioUnitScheduleParameters(first, &event, 1), badComponentSelector);
    EXPECT_EQ(kEntry(nullptr, nullptr), paramErr);
    EXPECT_EQ(GetComponentVersion(second), 0x00020305);
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

TEST(Dispatch, InitializeAndUninitializeRunOnceForEachChangeAndCloseCleansUp) {
    OpenInstrument unit;
    EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
    unit->mStatus = -5;
    EXPECT_EQ(AudioUnitInitialize(unit), -5);
    EXPECT_FALSE(unit->IsInitialized());
    EXPECT_EQ(TakeCalls(), "Initialize; ");
    unit->mStatus = noErr;
    EXPECT_EQ(AudioUnitInitialize(unit), noErr) << "whatever becomes of the buffers";
    EXPECT_EQ(AudioUnitInitialize(unit), noErr);
    EXPECT_EQ(TakeCalls(), "Initialize; ReallocateBuffers; ");
    EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
    EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
    EXPECT_FALSE(unit->IsInitialized());
    EXPECT_EQ(unit.Close(), noErr);
    EXPECT_EQ(TakeCalls(), "Cleanup; ");
    InitializedInstrument().Close();
    EXPECT_EQ(TakeCalls(), "Cleanup; ");
    EXPECT_EQ(TestInstrument::sLive, 0);
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

TEST(Dispatch, RenderAndListenersRefuseNullArguments) {
    const OpenInstrument unit;
    const AudioTimeStamp time = {};
    AudioBufferList list = {};
    EXPECT_EQ(AudioUnitRender(unit, nullptr, nullptr, 0, 0, &list), paramErr);
    EXPECT_EQ(AudioUnitRender(unit, nullptr, &time, 0, 0, nullptr), paramErr);
    EXPECT_EQ(AudioUnitRender(unit, nullptr, &time, 0, 0, &list), kAudioUnitErr_Uninitialized);
    EXPECT_EQ(AudioUnitAddRenderNotify(unit, nullptr, nullptr), paramErr);
    EXPECT_EQ(AudioUnitAddPropertyListener(unit, 8, nullptr, nullptr), paramErr);
}

} // namespace
} // namespace velnor::testing
