#include "platform/views/ControlGeometry.h"

#include "platform/system/MainThread.h"
#include "platform/views/ControlObject.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velnor {
namespace {

SInt16 Cut(Float32 value) {
    using Limits = std::numeric_limits<SInt16>;
    return static_cast<SInt16>(std::clamp(value, Float32{Limits::min()}, Float32{Limits::max()}));
}

bool IsFrame(const HIRect& frame) {
    return std::isfinite(frame.origin.x) && std::isfinite(frame.origin.y) &&
           std::isfinite(frame.size.width) && std::isfinite(frame.size.height) &&
           frame.size.width >= 0 && frame.size.height >= 0;
}

// What is to be taken from a place in the parent to get the place that the integer calls speak of.
HIPoint IntegerOrigin(const ControlObject& control) {
    WindowAttributes attributes = kWindowNoAttributes;
    const bool inWindow = GetWindowAttributes(control.Window(), &attributes) == noErr;
    const bool windowCoordinates = inWindow && (attributes & kWindowCompositingAttribute) == 0;
    return windowCoordinates ? control.ParentOrigin() : HIPoint{0, 0};
}

HIRect Offset(HIRect frame, HIPoint by, Float32 sign) {
    frame.origin.x += sign * by.x;
    frame.origin.y += sign * by.y;
    return frame;
}

} // namespace

HIRect FrameOf(const Rect& bounds) {
    const auto extent = [](SInt16 from, SInt16 to) {
        return static_cast<Float32>(std::max(to - from, 0));
    };
    return {{static_cast<Float32>(bounds.left), static_cast<Float32>(bounds.top)},
            {extent(bounds.left, bounds.right), extent(bounds.top, bounds.bottom)}};
}

Rect BoundsOf(const HIRect& frame) {
    return {Cut(frame.origin.y), Cut(frame.origin.x), Cut(frame.origin.y + frame.size.height),
            Cut(frame.origin.x + frame.size.width)};
}

} // namespace velnor

using velnor::ControlObject;

OSStatus HIViewGetFrame(HIViewRef view, HIRect* frame) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(view);
    if (control == nullptr || frame == nullptr) {
        return paramErr;
    }
    *frame = control->Frame();
    return noErr;
}

OSStatus HIViewSetFrame(HIViewRef view, const HIRect* frame) {
    VELNOR_MAIN_THREAD(kControls);
    ControlObject* control = ControlObject::Find(view);
    if (control == nullptr || frame == nullptr || !velnor::IsFrame(*frame)) {
        return paramErr;
    }
    control->SetFrame(*frame);
    return noErr;
}

Rect* GetControlBounds(ControlRef ref, Rect* bounds) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    if (control != nullptr && bounds != nullptr) {
        *bounds =
            velnor::BoundsOf(velnor::Offset(control->Frame(), velnor::IntegerOrigin(*control), 1));
    }
    return bounds;
}

void SetControlBounds(ControlRef ref, const Rect* bounds) {
    VELNOR_MAIN_THREAD(kControls);
    ControlObject* control = ControlObject::Find(ref);
    if (control != nullptr && bounds != nullptr) {
        control->SetFrame(
            velnor::Offset(velnor::FrameOf(*bounds), velnor::IntegerOrigin(*control), -1));
    }
}

void SizeControl(ControlRef ref, SInt16 width, SInt16 height) {
    VELNOR_MAIN_THREAD(kControls);
    if (ControlObject* control = ControlObject::Find(ref)) {
        control->SetFrame({control->Frame().origin, velnor::FrameOf({0, 0, height, width}).size});
    }
}

void MoveControl(ControlRef ref, SInt16 left, SInt16 top) {
    VELNOR_MAIN_THREAD(kControls);
    if (ControlObject* control = ControlObject::Find(ref)) {
        const HIRect moved = {{static_cast<Float32>(left), static_cast<Float32>(top)},
                              control->Frame().size};
        control->SetFrame(velnor::Offset(moved, velnor::IntegerOrigin(*control), -1));
    }
}
