// A host's window, for the length of a scope.
#ifndef VELNOR_TESTING_HOSTWINDOW_H
#define VELNOR_TESTING_HOSTWINDOW_H

#include "platform/CarbonView.h"
#include "platform/Controls.h"

#include <gtest/gtest.h>
#include <utility>

namespace velnor::testing {

inline int Count(ControlRef control) {
    UInt16 count = 0;
    EXPECT_EQ(CountSubControls(control, &count), noErr);
    return count;
}

class HostWindow {
public:
    explicit HostWindow(WindowAttributes attributes = kWindowCompositingAttribute) {
        const Rect bounds = {0, 0, 600, 800};
        EXPECT_EQ(CreateNewWindow(attributes, &bounds, &window), noErr);
        EXPECT_EQ(GetRootControl(window, &root), noErr);
    }
    ~HostWindow() {
        CloseView();
        DisposeWindow(window);
    }
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;

    // Opens a view of the instrument at (30.5, 40.5).
    OSStatus Show(Component component, AudioUnit unit) {
        const Float32Point location = {30.5f, 40.5f}, size = {100, 100};
        const OSStatus status = PlatformOpenComponent(component, &view);
        return status != noErr
                   ? status
                   : AudioUnitCarbonViewCreate(view, unit, window, root, &location, &size, &pane);
    }
    OSStatus CloseView() {
        return view == nullptr ? OSStatus{noErr} : CloseComponent(std::exchange(view, nullptr));
    }

    WindowRef window = nullptr;
    ControlRef root = nullptr;
    ControlRef pane = nullptr;
    AudioUnitCarbonView view = nullptr;
};

} // namespace velnor::testing

#endif
