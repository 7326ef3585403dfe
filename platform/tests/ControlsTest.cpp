#include "platform/Controls.h"

#include "testing/HostWindow.h"
#include "testing/Testing.h"

#include <array>
#include <bit>
#include <cmath>

namespace velnor::testing {
namespace {

// Top, left, bottom and right, as they stand in a Rect.
using Sides = std::array<SInt16, 4>;

constexpr Rect kBounds = {10, 20, 60, 120}; // at (20, 10), 100 by 50

class Controls : public ::testing::Test {
protected:
    ~Controls() override { DisposeWindow(window); }
    void OpenWindow(WindowAttributes attributes) {
        const Rect bounds = {100, 100, 500, 700};
        ASSERT_EQ(CreateNewWindow(attributes, &bounds, &window), noErr);
        ASSERT_EQ(GetRootControl(window, &root), noErr);
    }
    ControlRef Pane(ControlRef parent, Rect bounds = kBounds) {
        ControlRef pane = nullptr;
        EXPECT_EQ(CreateUserPaneControl(nullptr, &bounds, 0, &pane), noErr);
        if (parent != nullptr) {
            EXPECT_EQ(EmbedControl(pane, parent), noErr);
        }
        return pane;
    }
    static Sides Bounds(ControlRef control) {
        Rect bounds = {};
        return std::bit_cast<Sides>(*GetControlBounds(control, &bounds));
    }

    WindowRef window = nullptr;
    ControlRef root = nullptr;
};

TEST_F(Controls, WindowOwnsItsTreeAndItsGoingEndsIt) {
    OpenWindow(kWindowCompositingAttribute);
    ControlRef made = nullptr;
    ASSERT_EQ(CreateUserPaneControl(window, &kBounds, 0, &made), noErr);
    const ControlRef inner = Pane(made);
    const CFRef<ControlRef> kept = CFRef<ControlRef>::Retained(inner);
    ControlRef parent = nullptr;
    EXPECT_EQ(GetSuperControl(made, &parent), noErr);
    EXPECT_EQ(parent, root);
    EXPECT_EQ(GetControlOwner(inner), window);
    DisposeWindow(window);
    EXPECT_EQ(GetControlOwner(inner), nullptr);
    EXPECT_EQ(GetSuperControl(inner, &parent), noErr);
    EXPECT_EQ(parent, nullptr);
    EXPECT_EQ(CountSubControls(made, nullptr), paramErr);
    WindowAttributes attributes = 0;
    EXPECT_EQ(GetWindowAttributes(window, &attributes), paramErr);
}

TEST_F(Controls, EmbeddingMovesAControlAndRefusesCycles) {
    OpenWindow(kWindowNoAttributes);
    const ControlRef a = Pane(root), b = Pane(root), child = Pane(a);
    ControlRef found = nullptr;
    EXPECT_EQ(GetIndexedSubControl(root, 2, &found), noErr);
    EXPECT_EQ(found, b);
    EXPECT_EQ(GetIndexedSubControl(root, 0, &found), paramErr);
    EXPECT_EQ(GetIndexedSubControl(root, 3, &found), paramErr);
    EXPECT_EQ(HIViewAddSubview(b, child), noErr);
    EXPECT_EQ(Count(a), 0);
    EXPECT_EQ(Count(b), 1);
    EXPECT_EQ(EmbedControl(b, child), paramErr);
    EXPECT_EQ(EmbedControl(b, b), paramErr);
    EXPECT_EQ(EmbedControl(root, a), paramErr);
    EXPECT_EQ(EmbedControl(a, nullptr), paramErr);
    DisposeControl(b);
    EXPECT_EQ(Count(root), 1);
    EXPECT_EQ(EmbedControl(child, root), paramErr); // went with b
    DisposeControl(root);
    EXPECT_EQ(Count(root), 0);
}

TEST_F(Controls, ReferencesGoWithTheTreeNotWithItsUsers) {
    OpenWindow(kWindowNoAttributes);
    const ControlRef pane = Pane(nullptr);
    const CFRef<ControlRef> kept = CFRef<ControlRef>::Retained(pane);
    Pane(pane);
    DisposeControl(pane);
    EXPECT_EQ(CFGetRetainCount(pane), 1);
    EXPECT_EQ(Count(pane), 0);
    CFRelease(Pane(root)); // once too often
    EXPECT_EQ(Count(root), 0);
}

TEST_F(Controls, IntegerCallsSpeakOfTheWindowUnlessItIsCompositing) {
    for (const WindowAttributes attributes : {kWindowNoAttributes, kWindowCompositingAttribute}) {
        const bool compositing = attributes != kWindowNoAttributes;
        OpenWindow(attributes);
        const ControlRef pane = Pane(root);
        const ControlRef child = Pane(pane, {1, 2, 11, 32});
        const auto place = std::bit_cast<Rect>(Bounds(child));
        EXPECT_EQ(Bounds(child), compositing ? (Sides{1, 2, 11, 32}) : (Sides{11, 22, 21, 52}));
        MoveControl(child, 40, 30);
        SizeControl(child, 7, -1);
        EXPECT_EQ(Bounds(child), (Sides{30, 40, 30, 47}));
        HIRect frame = {};
        EXPECT_EQ(HIViewGetFrame(child, &frame), noErr);
        EXPECT_EQ(frame.origin.x, compositing ? 40 : 20);
        EXPECT_EQ(frame.origin.y, compositing ? 30 : 20);
        SetControlBounds(child, &place);
        EXPECT_EQ(Bounds(child), std::bit_cast<Sides>(place));
        DisposeWindow(window);
    }
}

TEST_F(Controls, FramesAreCutToIntegersAndMustBeFinite) {
    const CFRef<ControlRef> pane(Pane(nullptr));
    const HIRect odd = {{1.9f, -2.9f}, {10.2f, 1e9f}};
    EXPECT_EQ(HIViewSetFrame(pane.Get(), &odd), noErr);
    EXPECT_EQ(Bounds(pane.Get()), (Sides{-2, 1, 32767, 12}));
    for (const HIRect& bad :
         {HIRect{{NAN, 0}, {1, 1}}, HIRect{{0, 0}, {INFINITY, 1}}, HIRect{{0, 0}, {1, -1}}}) {
        EXPECT_EQ(HIViewSetFrame(pane.Get(), &bad), paramErr);
    }
    EXPECT_EQ(Bounds(pane.Get()), (Sides{-2, 1, 32767, 12}));
}

TEST_F(Controls, StaticTextKeepsItsTextAndFont) {
    ControlFontStyleRec style = {};
    style.flags = kControlUseFontMask;
    style.font = kControlFontSmallSystemFont;
    CFRef<ControlRef> text, pane(Pane(nullptr));
    ASSERT_EQ(CreateStaticTextControl(nullptr, &kBounds, String("first").Get(), &style, text.Out()),
              noErr);
    EXPECT_EQ(PlatformControlGetFontStyle(text.Get()).font, kControlFontSmallSystemFont);
    EXPECT_EQ(Text(CFRef(PlatformControlCopyText(text.Get())).Get()), "first");
    EXPECT_EQ(PlatformControlSetText(text.Get(), String("second").Get()), noErr);
    EXPECT_EQ(Text(CFRef(PlatformControlCopyText(text.Get())).Get()), "second");
    EXPECT_EQ(PlatformControlSetText(pane.Get(), String("second").Get()), paramErr);
    EXPECT_EQ(PlatformControlCopyText(pane.Get()), nullptr);
}

TEST_F(Controls, PointersThatAreNoControlAreRefused) {
    const auto nothing = reinterpret_cast<ControlRef>(std::uintptr_t{8});
    const auto noWindow = reinterpret_cast<WindowRef>(std::uintptr_t{8});
    ControlRef made = nullptr;
    EXPECT_EQ(CreateUserPaneControl(noWindow, &kBounds, 0, &made), paramErr);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(HIViewSetVisible(nothing, 1), paramErr);
    EXPECT_EQ(HIViewSetNeedsDisplay(nothing, 1), paramErr);
    EXPECT_FALSE(HIViewIsVisible(nothing));
    EXPECT_EQ(GetControlOwner(nothing), nullptr);
    DisposeControl(nothing);
    MoveControl(nothing, 1, 1);
    DisposeWindow(noWindow);
    EXPECT_EQ(CreateNewWindow(1, &kBounds, &window), paramErr);
}

} // namespace
} // namespace velnor::testing
