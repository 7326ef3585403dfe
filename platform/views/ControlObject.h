// The object behind ControlRef: one control and its place in the tree. Thread main, exclusive, may
// block.
#ifndef VELNOR_PLATFORM_VIEWS_CONTROLOBJECT_H
#define VELNOR_PLATFORM_VIEWS_CONTROLOBJECT_H

#include "platform/CFRef.h"
#include "platform/Controls.h"
#include "platform/values/CFObject.h"

#include <optional>
#include <vector>

namespace velnor {

// What a static text shows.
struct ControlText {
    CFRef<CFStringRef> text;
    ControlFontStyleRec style;
};

// A parent has one reference to each of its children: the one that the control was made with.
class ControlObject final : public CFObjectOf<ControlObject> {
public:
    ControlObject(const HIRect& frame, std::optional<ControlText> text);
    ~ControlObject() override;

    // Null for a pointer that is no live control; does not look behind it.
    static ControlObject* Find(ControlRef control);
    ControlRef Ref() { return RefOf<ControlRef>(this); }

    ControlObject* Parent() const { return mParent; }
    const std::vector<ControlObject*>& Children() const { return mChildren; }
    // The window whose root the tree hangs from, or null.
    WindowRef Window() const;
    // For a window's root.
    void SetOwnWindow(WindowRef window) { mOwnWindow = window; }
    bool IsRoot() const { return mOwnWindow != nullptr; }

    // Moves the control, which takes its frame along. False for a root or a cycle.
    bool Embed(ControlObject& container);
    // Takes everything below out of the tree.
    void DisposeChildren();
    // Takes the control and everything below out of the tree and gives up the reference that its
    // parent, or without one its maker, held. A root keeps its place and reference.
    void Dispose();

    const HIRect& Frame() const { return mFrame; }
    void SetFrame(const HIRect& frame) { mFrame = frame; }
    // Where the parent's own origin lies in the window.
    HIPoint ParentOrigin() const;

    std::optional<ControlText> text;
    bool visible = true;
    bool needsDisplay = true;

private:
    void LeaveParent();

    HIRect mFrame;
    ControlObject* mParent = nullptr;
    std::vector<ControlObject*> mChildren;
    WindowRef mOwnWindow = nullptr;
};

} // namespace velnor

#endif
