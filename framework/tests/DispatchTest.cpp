#include "framework/tests/TestInstrument.h"
#include "platform/ComponentParameterBlock.h"

#include <gmock/gmock.h>

namespace velnor {
namespace {

using ::testing::ElementsAre;
using Call = TestInstrument::Call;
using Shape = TestInstrument::Shape;

constexpr auto kEntry = ComponentEntryPoint<TestInstrument>::Dispatch;

struct ThrownCase {
    Throw thrown;
    OSStatus status;
};
constexpr ThrownCase kThrownCases[] = {{Throw::kStatus, kThrownStatus},
                                       {Throw::kError, kThrownError},
                                       {Throw::kBadAlloc, memFullErr},
                                       {Throw::kOther, -1}};

TEST(Dispatch, CanDoCountsTheRenderSelectorsFromInterfaceVersion2On) {
    const OpenInstrument second;
    const OpenInstrument first({.interfaceVersion = 1});
    for (int selector = -6; selector < 0x400; ++selector) {
        const bool component = selector >= -4 && selector <= -1;
        const bool always =
            component || (selector >= 1 && selector <= 7) || (selector >= 9 && selector <= 11);
        const bool rendering = selector >= 14 && selector <= 17;
        const auto what = static_cast<SInt16>(selector);
        EXPECT_EQ(ComponentFunctionImplemented(second, what), always || rendering) << selector;
        EXPECT_EQ(ComponentFunctionImplemented(first, what), always) << selector;
    }
}

TEST(Dispatch, SelectorsThatNoLayerServesAreBad) {
    const OpenInstrument unit;
    for (const int selector : {-100, -5, 0, 8, 12, 13, 18, 0x100, 0x107, 0x301, 0x7FFF}) {
        auto block = encode(static_cast<SInt16>(selector));
        EXPECT_EQ(CallComponentDispatch(unit, block.Get()), badComponentSelector) << selector;
    }
}

TEST(Dispatch, ANullInstanceIsAParameterErrorInEveryLayer) {
    for (int selector = -6; selector < 0x120; ++selector) {
        auto block = encode(static_cast<SInt16>(selector), 0, 0, 0, 0, 0);
        EXPECT_EQ(kEntry(block.Get(), nullptr), paramErr) << selector;
    }
    EXPECT_EQ(kEntry(nullptr, nullptr), paramErr);
}

TEST(Dispatch, ABlockWithoutRoomForTheArgumentsIsAParameterError) {
    const OpenInstrument unit;
    for (const int selector :
         {-3, 3, 4, 5, 6, 7, 9, 10, 11, 14, 15, 16, 17, 0x101, 0x102, 0x103, 0x104, 0x105, 0x106}) {
        auto block = encode(static_cast<SInt16>(selector));
        EXPECT_EQ(kEntry(block.Get(), unit.Storage()), paramErr) << selector;
    }
}

TEST(Dispatch, OpenThatThrowsGivesTheStatusAndLeavesNothing) {
    OpenInstrument::Registration();
    const CFIndex objects = PlatformLiveObjectCount();
    for (const auto& [thrown, status] : kThrownCases) {
        for (const Shape& shape :
             {Shape{.inConstructor = thrown}, Shape{.inPostConstructor = thrown}}) {
            const OpenInstrument unit(shape);
            EXPECT_EQ(unit.GetOpenStatus(), status);
            EXPECT_EQ(static_cast<AudioUnit>(unit), nullptr);
        }
    }
    EXPECT_EQ(TestInstrument::sLive, 0);
    EXPECT_EQ(PlatformLiveObjectCount(), objects);
    EXPECT_EQ(CountComponentInstances(OpenInstrument::Registration()), 0);
}

TEST(Dispatch, CloseCleansUpWhatIsInitializedAndDestroysTheObject) {
    for (const bool initialized : {false, true}) {
        OpenInstrument unit;
        if (initialized) {
            AudioUnitInitialize(unit);
        }
        const int before = TestInstrument::sCleanups;
        unit.Close();
        EXPECT_EQ(TestInstrument::sCleanups - before, initialized ? 1 : 0);
        EXPECT_EQ(TestInstrument::sLive, 0);
    }
}

TEST(Dispatch, InitializeAndUninitializeRunOnceForEachChange) {
    const OpenInstrument unit;
    const int cleanups = TestInstrument::sCleanups;
    EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
    EXPECT_EQ(TestInstrument::sCleanups, cleanups);
    unit->mStatus = -5;
    EXPECT_EQ(AudioUnitInitialize(unit), -5);
    EXPECT_FALSE(unit->IsInitialized());
    unit->mStatus = noErr;
    EXPECT_EQ(AudioUnitInitialize(unit), noErr) << "whatever becomes of the buffers";
    EXPECT_EQ(AudioUnitInitialize(unit), noErr);
    EXPECT_THAT(unit->TakeCalls(), ElementsAre(Call{"Initialize", {}}, Call{"Initialize", {}},
                                               Call{"ReallocateBuffers", {}}));
    EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
    EXPECT_EQ(AudioUnitUninitialize(unit), noErr);
    EXPECT_EQ(TestInstrument::sCleanups, cleanups + 1);
    EXPECT_FALSE(unit->IsInitialized());
}

TEST(Dispatch, ThrownFailuresBecomeStatuses) {
    const OpenInstrument unit;
    EXPECT_EQ(AudioUnitReset(unit, 2, 1), noErr);
    EXPECT_THAT(unit->TakeCalls(), ElementsAre(Call{"Reset", {2, 1}}));
    for (const auto& [thrown, status] : kThrownCases) {
        unit->mThrow = thrown;
        EXPECT_EQ(AudioUnitReset(unit, 0, 0), status);
    }
}

TEST(Dispatch, AnswersTheVersionAndTheRegisteredCodes) {
    const OpenInstrument unit;
    EXPECT_EQ(GetComponentVersion(unit), 0x00020305);
    ComponentDescription description = {};
    EXPECT_EQ(unit->GetComponentDescription(description), noErr);
    EXPECT_EQ(description.componentSubType, kTestSubType);
    EXPECT_EQ(TestInstrument(nullptr).GetComponentDescription(description), invalidComponentID);
    EXPECT_EQ(TestInstrument(nullptr).ComponentBase::Version(), 1);
}

TEST(Dispatch, ParametersAreStoredByElement) {
    const OpenInstrument unit({.outputs = 2, .groups = 16, .indexedParameters = 0});
    Float32 value = 0;
    EXPECT_EQ(AudioUnitSetParameter(unit, 7, 0, 0, 0.25f, 99), noErr);
    EXPECT_EQ(AudioUnitGetParameter(unit, 7, 0, 0, &value), noErr);
    EXPECT_EQ(value, 0.25f);
    struct Case {
        AudioUnitParameterID id;
        AudioUnitScope scope;
        AudioUnitElement element;
        OSStatus get, set;
    };
    for (const Case& c : {Case{8, 0, 0, kAudioUnitErr_InvalidParameter, noErr},
                          {7, 2, 5, kAudioUnitErr_InvalidElement, kAudioUnitErr_InvalidElement},
                          {7, 3, 0, kAudioUnitErr_InvalidScope, kAudioUnitErr_InvalidScope},
                          {7, 5, 0, kAudioUnitErr_InvalidScope, kAudioUnitErr_InvalidScope}}) {
        EXPECT_EQ(AudioUnitGetParameter(unit, c.id, c.scope, c.element, &value), c.get) << c.scope;
        EXPECT_EQ(AudioUnitSetParameter(unit, c.id, c.scope, c.element, 1, 0), c.set) << c.scope;
    }
    EXPECT_EQ(AudioUnitGetParameter(unit, 7, 0, 0, nullptr), paramErr);
}

TEST(Dispatch, IndexedParametersEndAtTheirCount) {
    const OpenInstrument unit({.indexedParameters = 3});
    Float32 value = -1;
    EXPECT_EQ(AudioUnitGetParameter(unit, 2, 0, 0, &value), noErr);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(AudioUnitSetParameter(unit, 2, 0, 0, 4, 0), noErr);
    EXPECT_EQ(AudioUnitGetParameter(unit, 2, 0, 0, &value), noErr);
    EXPECT_EQ(value, 4);
    EXPECT_EQ(AudioUnitGetParameter(unit, 3, 0, 0, &value), kAudioUnitErr_InvalidParameter);
    EXPECT_EQ(AudioUnitSetParameter(unit, 3, 0, 0, 4, 0), kAudioUnitErr_InvalidParameter);
}

TEST(Dispatch, RenderAndItsNotificationsRefuseNullArguments) {
    const OpenInstrument unit;
    const AudioTimeStamp time = {};
    AudioBufferList list = {};
    EXPECT_EQ(AudioUnitRender(unit, nullptr, nullptr, 0, 0, &list), paramErr);
    EXPECT_EQ(AudioUnitRender(unit, nullptr, &time, 0, 0, nullptr), paramErr);
    EXPECT_EQ(AudioUnitRender(unit, nullptr, &time, 0, 0, &list), kAudioUnitErr_Uninitialized);
    EXPECT_EQ(AudioUnitAddRenderNotify(unit, nullptr, nullptr), paramErr);
    EXPECT_EQ(AudioUnitAddPropertyListener(unit, 8, nullptr, nullptr), paramErr);
}

TEST(Dispatch, ScheduledParametersNeedInterfaceVersion2) {
    const AudioUnitParameterEvent event = {
        0, 0, 7, kParameterEvent_Immediate, {.immediate = {0, 2.0f}}};
    Float32 value = 0;
    const OpenInstrument second;
    EXPECT_EQ(AudioUnitScheduleParameters(second, &event, 1), noErr);
    EXPECT_EQ(AudioUnitGetParameter(second, 7, 0, 0, &value), noErr);
    EXPECT_EQ(value, 2);
    const OpenInstrument first({.interfaceVersion = 1});
    EXPECT_EQ(AudioUnitScheduleParameters(first, &event, 1), badComponentSelector);
}

} // namespace
} // namespace velnor
