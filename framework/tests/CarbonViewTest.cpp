#include "framework/AUCarbonViewBase.h"
#include "framework/ComponentEntryPoint.h"
#include "platform/tests/FourCharCode.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

namespace {

using velnor::AUCarbonViewBase;
using velnor::test::Code;

const auto kUnit = reinterpret_cast<AudioUnit>(std::uintptr_t{0x1000});

class TestView;
std::function<OSStatus(TestView&, Float32, Float32)> gCreateUI;
std::function<void(TestView&)> gTick;

class TestView : public AUCarbonViewBase {
public:
    explicit TestView(ComponentInstance instance) : AUCarbonViewBase(instance, 0.1f) {}
    OSStatus CreateUI(Float32 xOffset, Float32 yOffset) override {
        return gCreateUI(*this, xOffset, yOffset);
    }
    void RespondToEventTimer(EventLoopTimerRef) override { gTick(*this); }
};

ComponentResult TestViewEntry(ComponentParameters* params, void* storage) {
    return velnor::ComponentEntryPoint<TestView>::Dispatch(params, storage);
}

Component TestComponent() {
    const ComponentDescription codes = {Code("auvw"), Code("Test"), Code("VELN"), 0, 0};
    static const Component component =
        PlatformRegisterComponentEntry(&codes, TestViewEntry, "view", 1);
    return component;
}

ControlRef Embed(TestView& view, Rect bounds) {
    ControlRef control = nullptr;
    EXPECT_EQ(CreateUserPaneControl(nullptr, &bounds, 0, &control), noErr);
    EXPECT_EQ(view.EmbedControl(control), noErr);
    return control;
}

class CarbonView : public testing::Test {
protected:
    void SetUp() override {
        PlatformAdvanceEventLoop(0);
        gCreateUI = [](TestView&, Float32, Float32) { return noErr; };
        gTick = [](TestView&) {};
        view = OpenComponent(TestComponent());
        ASSERT_NE(view, nullptr);
    }
    void TearDown() override {
        Close();
        DisposeWindow(window);
        gCreateUI = nullptr;
        gTick = nullptr;
        EXPECT_EQ(PlatformLiveObjectCount(), before);
    }
    void Close() {
        if (view != nullptr) {
            EXPECT_EQ(CloseComponent(view), noErr);
        }
        view = nullptr;
    }
    void OpenWindow(WindowAttributes attributes) {
        const Rect bounds = {0, 0, 600, 800};
        ASSERT_EQ(CreateNewWindow(attributes, &bounds, &window), noErr);
        ASSERT_EQ(GetRootControl(window, &parent), noErr);
    }
    OSStatus Create() {
        return AudioUnitCarbonViewCreate(view, kUnit, window, parent, &location, &size, &pane);
    }
    int PanesInWindow() const {
        UInt16 count = 0;
        EXPECT_EQ(CountSubControls(parent, &count), noErr);
        return count;
    }

    CFIndex before = PlatformLiveObjectCount();
    ComponentInstance view = nullptr;
    WindowRef window = nullptr;
    ControlRef parent = nullptr;
    ControlRef pane = nullptr;
    Float32Point location = {30.75f, 40.25f};
    Float32Point size = {320, 240};
};

TEST_F(CarbonView, PaneStandsAtTheLocationAndTakesTheSizeOfItsContents) {
    for (const WindowAttributes attributes : {kWindowCompositingAttribute, kWindowNoAttributes}) {
        const bool compositing = attributes == kWindowCompositingAttribute;
        SCOPED_TRACE(compositing);
        OpenWindow(attributes);
        Float32Point offset = {-1, -1};
        gCreateUI = [&](TestView& self, Float32 x, Float32 y) {
            EXPECT_EQ(self.GetEditAudioUnit(), kUnit);
            EXPECT_EQ(self.GetCarbonWindow(), window);
            EXPECT_EQ(self.IsCompositWindow(), compositing);
            EXPECT_EQ(GetControlOwner(self.GetCarbonPane()), window);
            offset = {x, y};
            Embed(self, {0, 0, 50, 100});
            Embed(self, {60, 20, 80, 90});
            return noErr;
        };
        ASSERT_EQ(Create(), noErr);
        EXPECT_EQ(offset.x, compositing ? 0 : location.x);
        EXPECT_EQ(offset.y, compositing ? 0 : location.y);
        HIRect frame = {};
        ASSERT_EQ(HIViewGetFrame(pane, &frame), noErr);
        EXPECT_EQ(frame.origin.x, compositing ? 30.75f : 30);
        EXPECT_EQ(frame.origin.y, compositing ? 40.25f : 40);
        EXPECT_EQ(frame.size.width, 100);
        EXPECT_EQ(frame.size.height, 80);
        Close();
        EXPECT_EQ(PanesInWindow(), 0);
        DisposeWindow(window);
        view = OpenComponent(TestComponent());
    }
}

TEST_F(CarbonView, EmptyPaneKeepsTheSizeAskedForAndASecondCreationIsRefused) {
    OpenWindow(kWindowNoAttributes);
    ASSERT_EQ(Create(), noErr);
    HIRect frame = {};
    ASSERT_EQ(HIViewGetFrame(pane, &frame), noErr);
    EXPECT_EQ(frame.size.width, 320);
    EXPECT_EQ(frame.size.height, 240);
    EXPECT_EQ(Create(), paramErr);
    EXPECT_EQ(PanesInWindow(), 1);
}

TEST_F(CarbonView, FailedCreationAnswersItsStatusAndLeavesNoPane) {
    const std::function<OSStatus(TestView&, Float32, Float32)> failures[] = {
        [](TestView& self, Float32, Float32) {
            Embed(self, {0, 0, 5, 5});
            return 1;
        },
        [](TestView&, Float32, Float32) -> OSStatus { throw OSStatus{1}; },
    };
    OpenWindow(kWindowCompositingAttribute);
    for (const auto& failure : failures) {
        gCreateUI = failure;
        pane = parent;
        EXPECT_EQ(Create(), 1);
        EXPECT_EQ(pane, nullptr);
        EXPECT_EQ(PanesInWindow(), 0);
        Close();
        view = OpenComponent(TestComponent());
    }
}

TEST_F(CarbonView, BadArgumentsCreateNothing) {
    OpenWindow(kWindowNoAttributes);
    const Rect bounds = {0, 0, 10, 10};
    WindowRef other = nullptr;
    ASSERT_EQ(CreateNewWindow(kWindowNoAttributes, &bounds, &other), noErr);
    const auto create = [&](AudioUnit unit, WindowRef w, ControlRef p, const Float32Point* l,
                            const Float32Point* s, ControlRef* control) {
        return AudioUnitCarbonViewCreate(view, unit, w, p, l, s, control);
    };
    gCreateUI = [](TestView&, Float32, Float32) -> OSStatus { throw OSStatus{2}; };
    EXPECT_EQ(create(nullptr, window, parent, &location, &size, &pane), paramErr);
    EXPECT_EQ(create(kUnit, nullptr, parent, &location, &size, &pane), paramErr);
    EXPECT_EQ(create(kUnit, other, parent, &location, &size, &pane), paramErr);
    EXPECT_EQ(create(kUnit, window, nullptr, &location, &size, &pane), paramErr);
    EXPECT_EQ(create(kUnit, window, parent, nullptr, &size, &pane), paramErr);
    EXPECT_EQ(create(kUnit, window, parent, &location, nullptr, &pane), paramErr);
    EXPECT_EQ(create(kUnit, window, parent, &location, &size, nullptr), paramErr);
    for (const Float32 bad : {std::numeric_limits<Float32>::quiet_NaN(), 40000.0f, -1.0f}) {
        const Float32Point badSize = {bad, 10};
        EXPECT_EQ(create(kUnit, window, parent, &location, &badSize, &pane), paramErr);
    }
    EXPECT_EQ(PanesInWindow(), 0);
    DisposeWindow(other);
}

TEST_F(CarbonView, TimerIsOneForTheViewWithADelayOfAtLeastFiveMilliseconds) {
    OpenWindow(kWindowNoAttributes);
    gCreateUI = [](TestView& self, Float32, Float32) {
        EXPECT_EQ(self.CreateEventLoopTimer(0, 0.1f), noErr);
        EXPECT_EQ(self.CreateEventLoopTimer(0, 0.001f), noErr);
        return noErr;
    };
    int ticks = 0;
    gTick = [&](TestView&) {
        ++ticks;
        throw OSStatus{3};
    };
    ASSERT_EQ(Create(), noErr);
    PlatformAdvanceEventLoop(0.0049);
    EXPECT_EQ(ticks, 0);
    PlatformAdvanceEventLoop(0.0002);
    EXPECT_EQ(ticks, 1);
    PlatformAdvanceEventLoop(0.1);
    EXPECT_EQ(ticks, 2);
    Close();
    PlatformAdvanceEventLoop(1);
    EXPECT_EQ(ticks, 2);
}

TEST_F(CarbonView, MayBeClosedInItsOwnTick) {
    OpenWindow(kWindowNoAttributes);
    gCreateUI = [](TestView& self, Float32, Float32) {
        Embed(self, {0, 0, 5, 5});
        return self.CreateEventLoopTimer(1, 1);
    };
    int ticks = 0;
    gTick = [&](TestView&) {
        ++ticks;
        Close();
    };
    ASSERT_EQ(Create(), noErr);
    PlatformAdvanceEventLoop(5);
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(PanesInWindow(), 0);
}

TEST_F(CarbonView, SurvivesItsWindowAndItsPane) {
    OpenWindow(kWindowCompositingAttribute);
    gCreateUI = [](TestView& self, Float32, Float32) {
        Embed(self, {0, 0, 5, 5});
        return noErr;
    };
    ASSERT_EQ(Create(), noErr);
    DisposeWindow(window);
    Close();
    view = OpenComponent(TestComponent());
    OpenWindow(kWindowCompositingAttribute);
    ASSERT_EQ(Create(), noErr);
    DisposeControl(pane);
}

TEST_F(CarbonView, ServesOnlyItsOwnSelectors) {
    EXPECT_EQ(ComponentFunctionImplemented(view, kAudioUnitCarbonViewCreateSelect), 1);
    EXPECT_EQ(ComponentFunctionImplemented(view, kComponentCloseSelect), 1);
    EXPECT_EQ(ComponentFunctionImplemented(view, kAudioUnitInitializeSelect), 0);
    ComponentParameters params = {0, 0, kAudioUnitInitializeSelect, {0}};
    EXPECT_EQ(CallComponentDispatch(view, &params), badComponentSelector);
    params.what = kAudioUnitCarbonViewCreateSelect;
    EXPECT_EQ(CallComponentDispatch(view, &params), paramErr);
    EXPECT_EQ(TestViewEntry(&params, nullptr), paramErr);
}

} // namespace
