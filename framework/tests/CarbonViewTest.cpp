#include "framework/AUCarbonViewBase.h"
#include "framework/ComponentEntryPoint.h"
#include "testing/HostWindow.h"
#include "testing/Testing.h"

#include <functional>
#include <limits>
#include <optional>

namespace velnor::testing {
namespace {

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
    return ComponentEntryPoint<TestView>::Dispatch(params, storage);
}

const ComponentDescription kCodes = {Code("auvw"), Code("Test"), Code("VELN"), 0, 0};
const Component kTestView = PlatformRegisterComponentEntry(&kCodes, TestViewEntry, "view", 1);

ControlRef Embed(TestView& view, Rect bounds) {
    ControlRef control = nullptr;
    EXPECT_EQ(CreateUserPaneControl(nullptr, &bounds, 0, &control), noErr);
    EXPECT_EQ(view.EmbedControl(control), noErr);
    return control;
}

class CarbonView : public ::testing::Test {
protected:
    void SetUp() override {
        PlatformAdvanceEventLoop(0);
        view = OpenComponent(kTestView);
        ASSERT_NE(view, nullptr);
    }
    void TearDown() override { EXPECT_EQ(CloseComponent(view), noErr); }
    void Reopen() {
        EXPECT_EQ(CloseComponent(view), noErr);
        view = OpenComponent(kTestView);
    }
    OSStatus Create() {
        return AudioUnitCarbonViewCreate(view, kUnit, window->window, window->root, &location,
                                         &size, &pane);
    }

    ComponentInstance view = nullptr;
    std::optional<HostWindow> window;
    ControlRef pane = nullptr;
    Float32Point location = {30.75f, 40.25f};
    Float32Point size = {320, 240};
};

TEST_F(CarbonView, PaneStandsAtTheLocationAndHoldsItsContents) {
    for (const bool compositing : {true, false}) {
        window.emplace(compositing ? kWindowCompositingAttribute : kWindowNoAttributes);
        Float32Point offset = {-1, -1};
        gCreateUI = [&](TestView& self, Float32 x, Float32 y) {
            EXPECT_EQ(self.GetEditAudioUnit(), kUnit);
            EXPECT_EQ(self.GetCarbonWindow(), window->window);
            EXPECT_EQ(self.IsCompositWindow(), compositing);
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
        EXPECT_EQ(Create(), paramErr); // one user interface for each view
        EXPECT_EQ(Count(window->root), 1);
        Reopen();
        EXPECT_EQ(Count(window->root), 0);
        window.reset();
    }
}

TEST_F(CarbonView, FailedCreationAnswersItsStatusAndLeavesNoPane) {
    window.emplace(kWindowCompositingAttribute);
    for (const bool throws : {false, true}) {
        gCreateUI = [throws](TestView& self, Float32, Float32) {
            Embed(self, {0, 0, 5, 5});
            return throws ? throw OSStatus{1} : 1;
        };
        pane = window->root;
        EXPECT_EQ(Create(), 1);
        EXPECT_EQ(pane, nullptr);
        EXPECT_EQ(Count(window->root), 0);
        Reopen();
    }
}

TEST_F(CarbonView, BadArgumentsCreateNothing) {
    window.emplace(kWindowNoAttributes);
    gCreateUI = [](TestView&, Float32, Float32) -> OSStatus { throw OSStatus{2}; };
    const WindowRef host = window->window;
    const ControlRef root = window->root;
    const Float32 nan = std::numeric_limits<Float32>::quiet_NaN();
    const Float32Point sizes[] = {{nan, 10}, {40000, 10}, {-1, 10}};
    for (const auto& [unit, where, inside, at, extent, out] :
         Rows<AudioUnit, WindowRef, ControlRef, const Float32Point*, const Float32Point*,
              ControlRef*>{{nullptr, host, root, &location, &size, &pane},
                           {kUnit, nullptr, root, &location, &size, &pane},
                           {kUnit, host, nullptr, &location, &size, &pane},
                           {kUnit, host, root, nullptr, &size, &pane},
                           {kUnit, host, root, &location, nullptr, &pane},
                           {kUnit, host, root, &location, &size, nullptr},
                           {kUnit, host, root, &location, &sizes[0], &pane},
                           {kUnit, host, root, &location, &sizes[1], &pane},
                           {kUnit, host, root, &location, &sizes[2], &pane}}) {
        EXPECT_EQ(AudioUnitCarbonViewCreate(view, unit, where, inside, at, extent, out), paramErr);
    }
    EXPECT_EQ(Count(window->root), 0);
}

TEST_F(CarbonView, TimerIsOneForTheViewWithADelayOfAtLeastFiveMilliseconds) {
    window.emplace(kWindowNoAttributes);
    gCreateUI = [](TestView& self, Float32, Float32) {
        EXPECT_EQ(self.CreateEventLoopTimer(0, 0.1f), noErr);
        return self.CreateEventLoopTimer(0, 0.001f);
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
    gTick = [&](TestView&) { Reopen(); }; // closed in its own tick
    PlatformAdvanceEventLoop(0.1);
    gTick = [](TestView&) { ADD_FAILURE() << "of a view that is closed"; };
    PlatformAdvanceEventLoop(1);
    EXPECT_EQ(Count(window->root), 0);
}

TEST_F(CarbonView, SurvivesItsWindowAndItsPane) {
    gCreateUI = [](TestView& self, Float32, Float32) {
        Embed(self, {0, 0, 5, 5});
        return noErr;
    };
    window.emplace(kWindowCompositingAttribute);
    ASSERT_EQ(Create(), noErr);
    window.reset();
    Reopen();
    window.emplace(kWindowCompositingAttribute);
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
} // namespace velnor::testing
