#include "framework/AUCarbonViewBase.h"
#include "framework/ComponentEntryPoint.h"
#include "testing/HostWindow.h"
#include "testing/Testing.h"

#include <functional>

namespace velnor::testing {
namespace {

const auto kUnit = reinterpret_cast<AudioUnit>(std::uintptr_t{0x1000});

// What the view does when it is made and when its timer fires.
class TestView;
std::function<OSStatus(TestView&, Float32Point)> gCreateUI;
std::function<void()> gTick;

class TestView : public AUCarbonViewBase {
public:
    explicit TestView(ComponentInstance instance) : AUCarbonViewBase(instance, 0.1f) {}
    OSStatus CreateUI(Float32 xOffset, Float32 yOffset) override {
        return gCreateUI(*this, {xOffset, yOffset});
    }
    void RespondToEventTimer(EventLoopTimerRef) override { gTick(); }
    void Embed(Rect bounds) {
        ControlRef control = nullptr;
        EXPECT_EQ(CreateUserPaneControl(nullptr, &bounds, 0, &control), noErr);
        EXPECT_EQ(EmbedControl(control), noErr);
    }
};

const ComponentDescription kCodes = {Code("auvw"), Code("Test"), Code("VELN"), 0, 0};
const Component kTestView =
    PlatformRegisterComponentEntry(&kCodes, ComponentEntryPoint<TestView>::Dispatch, "view", 1);

TEST(CarbonView, PaneStandsAtTheLocationAndHoldsItsContents) {
    for (const bool compositing : {true, false}) {
        HostWindow window(compositing ? kWindowCompositingAttribute : kWindowNoAttributes);
        gCreateUI = [&](TestView& self, Float32Point offset) {
            EXPECT_EQ(self.GetEditAudioUnit(), kUnit);
            EXPECT_EQ(self.GetCarbonWindow(), window.window);
            EXPECT_EQ(self.IsCompositWindow(), compositing);
            EXPECT_EQ(offset.x, compositing ? 0 : 30.5f);
            EXPECT_EQ(offset.y, compositing ? 0 : 40.5f);
            self.Embed({0, 0, 50, 100});
            self.Embed({60, 20, 80, 90});
            return noErr;
        };
        ASSERT_EQ(window.Show(kTestView, kUnit), noErr);
        HIRect frame = {};
        ASSERT_EQ(HIViewGetFrame(window.pane, &frame), noErr);
        EXPECT_EQ(frame.origin.x, compositing ? 30.5f : 30);
        EXPECT_EQ(frame.origin.y, compositing ? 40.5f : 40);
        EXPECT_EQ(frame.size.width, 100);
        EXPECT_EQ(frame.size.height, 80);
        EXPECT_EQ(Count(window.root), 1);
        EXPECT_EQ(window.CloseView(), noErr);
        EXPECT_EQ(Count(window.root), 0);
    }
}

TEST(CarbonView, FailedCreationAnswersItsStatusAndLeavesNoPane) {
    for (const bool throws : {false, true}) {
        HostWindow window;
        gCreateUI = [throws](TestView& self, Float32Point) {
            self.Embed({0, 0, 5, 5});
            return throws ? throw OSStatus{1} : 1;
        };
        EXPECT_EQ(window.Show(kTestView, kUnit), 1);
        EXPECT_EQ(window.pane, nullptr);
        EXPECT_EQ(Count(window.root), 0);
    }
}

TEST(CarbonView, TimerIsOneForTheViewWithADelayOfAtLeastFiveMilliseconds) {
    HostWindow window;
    gCreateUI = [](TestView& self, Float32Point) {
        EXPECT_EQ(self.CreateEventLoopTimer(0, 0.1f), noErr);
        return self.CreateEventLoopTimer(0, 0.001f);
    };
    int ticks = 0;
    gTick = [&] {
        ++ticks;
        throw OSStatus{3};
    };
    PlatformAdvanceEventLoop(0);
    ASSERT_EQ(window.Show(kTestView, kUnit), noErr);
    for (const auto& [seconds, wanted] : {std::pair(0.0049, 0), {0.0002, 1}, {0.1, 2}}) {
        PlatformAdvanceEventLoop(seconds);
        EXPECT_EQ(ticks, wanted);
    }
    gTick = [&] { window.CloseView(); };
    PlatformAdvanceEventLoop(0.1);
    gTick = [] { ADD_FAILURE() << "of a view that is closed"; };
    PlatformAdvanceEventLoop(1);
    EXPECT_EQ(Count(window.root), 0);
}

} // namespace
} // namespace velnor::testing
