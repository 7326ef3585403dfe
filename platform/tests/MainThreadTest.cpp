#include "platform/CarbonView.h"
#include "platform/Components.h"
#include "platform/Controls.h"
#include "platform/EventLoop.h"
#include "testing/Testing.h"

#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velnor::testing {
namespace {

constexpr Rect kBounds = {0, 0, 10, 10};

void elsewhere(void (*call)()) {
    std::thread(call).join();
}

void openControl() {
    ControlRef control = nullptr;
    CreateUserPaneControl(nullptr, &kBounds, 0, &control);
}

void openWindow() {
    WindowRef window = nullptr;
    CreateNewWindow(kWindowNoAttributes, &kBounds, &window);
}

TEST(MainThreadDeathTest, CallOnAnotherThreadStopsTheProcessAndNamesTheFunction) {
#ifndef VELNOR_THREAD_CHECKS
    GTEST_SKIP() << "this build does not check";
#endif
    const struct {
        const char* line;
        void (*first)();
        void (*second)();
    } cases[] = {
        {"velnor: OpenComponent .*components", [] { PlatformRescanComponents(); },
         [] { OpenComponent(nullptr); }},
        {"velnor: DisposeControl .*controls", openControl, [] { DisposeControl(nullptr); }},
        {"velnor: RunCurrentEventLoop .*event loop", [] { GetMainEventLoop(); },
         [] { RunCurrentEventLoop(0); }},
        {"velnor: AudioUnitCarbonViewCreate .*view",
         [] {
             AudioUnitCarbonViewCreate(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr);
         },
         [] {
             AudioUnitCarbonViewCreate(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr);
         }},
        {"velnor: DisposeWindow .*windows", openWindow, [] { DisposeWindow(nullptr); }},
    };
    for (const auto& each : cases) {
        EXPECT_DEATH((each.first(), elsewhere(each.second)), each.line);
    }
}

// The last window gone, the next thread may have them; and a child process begins anew, whichever
// thread it comes from.
TEST(MainThread, HostMayMoveBetweenObjectsAndAfterAFork) {
    WindowRef window = nullptr;
    ASSERT_EQ(CreateNewWindow(kWindowNoAttributes, &kBounds, &window), noErr);
    DisposeWindow(window);
    elsewhere([] {
        WindowRef other = nullptr;
        CreateNewWindow(kWindowNoAttributes, &kBounds, &other);
        DisposeWindow(other);
    });
    GetMainEventLoop();
    elsewhere([] {
        const pid_t child = fork();
        if (child == 0) {
            GetMainEventLoop();
            _exit(0);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    });
}

} // namespace
} // namespace velnor::testing
