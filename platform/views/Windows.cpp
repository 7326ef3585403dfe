#include "platform/system/MainThread.h"
#include "platform/views/ControlGeometry.h"
#include "platform/views/ControlObject.h"

#include <map>
#include <memory>

using velnor::CFRef;
using velnor::ControlObject;

struct OpaqueWindowRef {
    WindowAttributes attributes;
    CFRef<ControlRef> root;
};

namespace {

std::map<WindowRef, std::unique_ptr<OpaqueWindowRef>>& Windows() {
    static auto* const windows = new std::map<WindowRef, std::unique_ptr<OpaqueWindowRef>>;
    return *windows;
}

ControlObject& RootOf(WindowRef window) {
    return velnor::Cast<ControlObject>(window->root.Get());
}

} // namespace

OSStatus CreateNewWindow(WindowAttributes attributes, const Rect* bounds, WindowRef* window) {
    VELNOR_MAIN_THREAD(kWindows);
    if (bounds == nullptr || window == nullptr ||
        (attributes & ~WindowAttributes{kWindowCompositingAttribute}) != 0) {
        return paramErr;
    }
    HIRect frame = velnor::FrameOf(*bounds);
    frame.origin = {0, 0};
    auto* const root = new ControlObject(frame, std::nullopt);
    auto owned = std::make_unique<OpaqueWindowRef>(
        OpaqueWindowRef{attributes, CFRef<ControlRef>(root->Ref())});
    const WindowRef made = owned.get();
    root->SetOwnWindow(made);
    Windows().emplace(made, std::move(owned));
    *window = made;
    return noErr;
}

void DisposeWindow(WindowRef window) {
    VELNOR_MAIN_THREAD(kWindows);
    if (!Windows().contains(window)) {
        return;
    }
    RootOf(window).DisposeChildren();
    RootOf(window).SetOwnWindow(nullptr);
    Windows().erase(window);
    if (Windows().empty()) {
        VELNOR_FORGET_MAIN_THREAD(kWindows);
    }
}

OSStatus GetWindowAttributes(WindowRef window, WindowAttributes* attributes) {
    VELNOR_MAIN_THREAD(kWindows);
    if (!Windows().contains(window) || attributes == nullptr) {
        return paramErr;
    }
    *attributes = window->attributes;
    return noErr;
}

OSStatus GetRootControl(WindowRef window, ControlRef* root) {
    VELNOR_MAIN_THREAD(kWindows);
    if (!Windows().contains(window) || root == nullptr) {
        return paramErr;
    }
    *root = window->root.Get();
    return noErr;
}
