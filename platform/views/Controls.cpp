#include "platform/Controls.h"

#include "platform/system/MainThread.h"
#include "platform/views/ControlGeometry.h"
#include "platform/views/ControlObject.h"

#include <algorithm>
#include <limits>
#include <utility>

using velnor::CFRef;
using velnor::ControlObject;
using velnor::ControlText;

namespace {

OSStatus Create(WindowRef window, const Rect* bounds, std::optional<ControlText> text,
                ControlRef* control) {
    if (bounds == nullptr || control == nullptr) {
        return paramErr;
    }
    ControlRef root = nullptr;
    if (window != nullptr && GetRootControl(window, &root) != noErr) {
        return paramErr;
    }
    auto* const object = new ControlObject(velnor::FrameOf(*bounds), std::move(text));
    CFRef<ControlRef> made(object->Ref());
    const OSStatus status = root != nullptr ? EmbedControl(made.Get(), root) : noErr;
    *control = made.Detach();
    return status;
}

} // namespace

OSStatus CreateUserPaneControl(WindowRef window, const Rect* bounds, UInt32 /*features*/,
                               ControlRef* control) {
    VELNOR_MAIN_THREAD(kControls);
    return Create(window, bounds, std::nullopt, control);
}

OSStatus CreateStaticTextControl(WindowRef window, const Rect* bounds, CFStringRef text,
                                 const ControlFontStyleRec* style, ControlRef* control) {
    VELNOR_MAIN_THREAD(kControls);
    if (text == nullptr) {
        return paramErr;
    }
    return Create(window, bounds,
                  ControlText{CFRef<CFStringRef>::Retained(text),
                              style != nullptr ? *style : ControlFontStyleRec{}},
                  control);
}

void DisposeControl(ControlRef ref) {
    VELNOR_MAIN_THREAD(kControls);
    if (ControlObject* control = ControlObject::Find(ref)) {
        control->Dispose();
    }
}

OSStatus EmbedControl(ControlRef ref, ControlRef containerRef) {
    VELNOR_MAIN_THREAD(kControls);
    ControlObject* control = ControlObject::Find(ref);
    ControlObject* container = ControlObject::Find(containerRef);
    const bool embedded = control != nullptr && container != nullptr && control->Embed(*container);
    return embedded ? noErr : paramErr;
}

OSStatus HIViewAddSubview(HIViewRef parent, HIViewRef child) {
    VELNOR_MAIN_THREAD(kControls);
    return EmbedControl(child, parent);
}

OSStatus GetSuperControl(ControlRef ref, ControlRef* parent) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    if (control == nullptr || parent == nullptr) {
        return paramErr;
    }
    *parent = control->Parent() != nullptr ? control->Parent()->Ref() : nullptr;
    return noErr;
}

OSStatus CountSubControls(ControlRef ref, UInt16* count) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    if (control == nullptr || count == nullptr) {
        return paramErr;
    }
    const std::size_t most = std::numeric_limits<UInt16>::max();
    *count = static_cast<UInt16>(std::min(control->Children().size(), most));
    return noErr;
}

OSStatus GetIndexedSubControl(ControlRef ref, UInt16 index, ControlRef* child) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    if (control == nullptr || child == nullptr || index == 0 ||
        index > control->Children().size()) {
        return paramErr;
    }
    *child = control->Children()[index - 1u]->Ref();
    return noErr;
}

WindowRef GetControlOwner(ControlRef ref) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    return control != nullptr ? control->Window() : nullptr;
}

OSStatus HIViewSetVisible(HIViewRef view, Boolean visible) {
    VELNOR_MAIN_THREAD(kControls);
    ControlObject* control = ControlObject::Find(view);
    if (control == nullptr) {
        return paramErr;
    }
    control->visible = visible != 0;
    return noErr;
}

Boolean HIViewIsVisible(HIViewRef view) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(view);
    return control != nullptr && control->visible;
}

OSStatus HIViewSetNeedsDisplay(HIViewRef view, Boolean needsDisplay) {
    VELNOR_MAIN_THREAD(kControls);
    ControlObject* control = ControlObject::Find(view);
    if (control == nullptr) {
        return paramErr;
    }
    control->needsDisplay = needsDisplay != 0;
    return noErr;
}

Boolean HIViewGetNeedsDisplay(HIViewRef view) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(view);
    return control != nullptr && control->needsDisplay;
}

OSStatus PlatformControlSetText(ControlRef ref, CFStringRef text) {
    VELNOR_MAIN_THREAD(kControls);
    ControlObject* control = ControlObject::Find(ref);
    if (control == nullptr || text == nullptr || !control->text) {
        return paramErr;
    }
    control->text->text = CFRef<CFStringRef>::Retained(text);
    return noErr;
}

CFStringRef PlatformControlCopyText(ControlRef ref) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    return control != nullptr && control->text ? control->text->text.Share().Detach() : nullptr;
}

ControlFontStyleRec PlatformControlGetFontStyle(ControlRef ref) {
    VELNOR_MAIN_THREAD(kControls);
    const ControlObject* control = ControlObject::Find(ref);
    return control != nullptr && control->text ? control->text->style : ControlFontStyleRec{};
}
