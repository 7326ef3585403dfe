#include "platform/views/ControlObject.h"

#include "platform/system/MainThread.h"

#include <unordered_set>
#include <utility>

namespace velnor {
namespace {

std::unordered_set<const void*>& LiveControls() {
    static auto* const controls = new std::unordered_set<const void*>;
    return *controls;
}

bool IsWithin(const ControlObject* control, const ControlObject* ancestor) {
    while (control != nullptr && control != ancestor) {
        control = control->Parent();
    }
    return control != nullptr;
}

} // namespace

ControlObject::ControlObject(const HIRect& frame, std::optional<ControlText> shown)
    : text(std::move(shown)), mFrame(frame) {
    LiveControls().insert(Ref());
}

// A control that its maker released once too often is still in its parent's list.
ControlObject::~ControlObject() {
    LiveControls().erase(Ref());
    LeaveParent();
    DisposeChildren();
    if (LiveControls().empty()) {
        VELNOR_FORGET_MAIN_THREAD(kControls);
    }
}

ControlObject* ControlObject::Find(ControlRef control) {
    return LiveControls().contains(control) ? &Cast<ControlObject>(control) : nullptr;
}

WindowRef ControlObject::Window() const {
    const ControlObject* top = this;
    while (top->mParent != nullptr) {
        top = top->mParent;
    }
    return top->mOwnWindow;
}

bool ControlObject::Embed(ControlObject& container) {
    if (IsRoot() || IsWithin(&container, this)) {
        return false;
    }
    container.mChildren.reserve(container.mChildren.size() + 1);
    LeaveParent();
    mParent = &container;
    container.mChildren.push_back(this);
    return true;
}

void ControlObject::LeaveParent() {
    if (mParent != nullptr) {
        std::erase(mParent->mChildren, this);
        mParent = nullptr;
    }
}

void ControlObject::DisposeChildren() {
    while (!mChildren.empty()) {
        mChildren.back()->Dispose();
    }
}

void ControlObject::Dispose() {
    DisposeChildren();
    if (IsRoot()) {
        return;
    }
    LeaveParent();
    Release();
}

HIPoint ControlObject::ParentOrigin() const {
    HIPoint origin = {0, 0};
    for (const ControlObject* parent = mParent; parent != nullptr; parent = parent->mParent) {
        origin.x += parent->mFrame.origin.x;
        origin.y += parent->mFrame.origin.y;
    }
    return origin;
}

} // namespace velnor
