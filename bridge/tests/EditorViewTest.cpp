#include "platform/EventLoop.h"
#include "testing/HostWindow.h"
#include "testing/TestHost.h"
#include "testing/Testing.h"

namespace velnor::testing {
namespace {

using Opcodes = std::vector<OrmoWord>;

const Opcodes kClosed = {kOpDetachEditor, kOpEditorDestroy};

class EditorView : public ::testing::Test {
protected:
    void SetUp() override { PlatformAdvanceEventLoop(0); }
    void OpenInstrument(bool initialized,
                        const std::string& path = builtBundle("Velnor.component")) {
        instrument.emplace(path);
        if (initialized) {
            EXPECT_EQ(instrument->initialize(), noErr);
        }
        probe.clear();
    }
    // Has the host open the instrument's view in a new window.
    OSStatus Show(WindowAttributes attributes) {
        return window.emplace(attributes).Show(instrument->view(), instrument->unit());
    }
    OSStatus ShowInitialized(WindowAttributes attributes) {
        OpenInstrument(true);
        return Show(attributes);
    }
    Opcodes TakeOpcodes() {
        Opcodes opcodes;
        for (const auto& call : probe.calls()) {
            opcodes.push_back(call.words[1]);
        }
        probe.clear();
        return opcodes;
    }
    static std::vector<int> Place(ControlRef control) {
        Rect bounds = {};
        GetControlBounds(control, &bounds);
        return {bounds.left, bounds.top, bounds.right, bounds.bottom};
    }
    void ExpectFallback(const char* wanted, int left, int top) {
        ControlRef text = nullptr;
        ASSERT_EQ(GetIndexedSubControl(window->pane, 1, &text), noErr);
        EXPECT_EQ(Text(CFRef(PlatformControlCopyText(text)).Get()), wanted);
        const ControlFontStyleRec style = PlatformControlGetFontStyle(text);
        EXPECT_EQ(style.flags, kControlUseFontMask);
        EXPECT_EQ(style.font, kControlFontSmallSystemFont);
        EXPECT_EQ(Place(text), (std::vector{left, top, left + 200, top + 200}));
        EXPECT_EQ(Place(window->pane), (std::vector{30, 40, 230, 240}));
    }

    TestHost host;
    probe::Probe& probe = freshProbe();
    std::optional<Instrument> instrument;
    std::optional<HostWindow> window;
};

TEST_F(EditorView, EngineIsCalledInOrderWithItsHandles) {
    ASSERT_EQ(ShowInitialized(kWindowCompositingAttribute), noErr);
    OrmoEngineHandle handle = 0;
    ASSERT_EQ(instrument->get(kPropertyEngineHandle, handle), noErr);
    const auto engine = static_cast<OrmoWord>(handle);
    const auto calls = probe.calls();
    ASSERT_EQ(calls.size(), 4u);
    const OrmoWord editor = calls[1].words[0];
    EXPECT_NE(editor, 0);
    EXPECT_EQ(calls[0].bytes[0], "/data/OrmoSetup.xml");
    EXPECT_THAT(calls[0].words, ElementsAre(0, kOpEditorCreate, _, _, engine, 0, 0, 0, 0));
    EXPECT_THAT(calls[1].words,
                ElementsAre(editor, kOpEditorOpen, reinterpret_cast<OrmoWord>(window->window), 0, 0,
                            1, 0, 0, 0));
    EXPECT_THAT(calls[2].words, ElementsAre(engine, kOpAttachEditor, editor, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(calls[3].words, ElementsAre(editor, kOpEditorGetView, _, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(Count(window->pane), 0);
    probe.clear();
    EXPECT_EQ(window->CloseView(), noErr);
    const auto closing = probe.calls();
    ASSERT_EQ(closing.size(), 2u);
    EXPECT_THAT(closing[0].words, ElementsAre(engine, kOpDetachEditor, editor, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(closing[1].words, ElementsAre(editor, kOpEditorDestroy, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(EditorView, RootControlSitsAtThePanesCornerAndThePaneTakesItsSize) {
    // What the process keeps, registrations and the engine's bundle, exists from here on.
    OpenInstrument(true);
    instrument.reset();
    for (const WindowAttributes attributes : {kWindowCompositingAttribute, kWindowNoAttributes}) {
        const bool compositing = attributes == kWindowCompositingAttribute;
        const CFIndex before = PlatformLiveObjectCount();
        const Rect bounds = {5, 7, 305, 407};
        ControlRef control = nullptr;
        EXPECT_EQ(CreateUserPaneControl(nullptr, &bounds, 0, &control), noErr);
        HIViewSetVisible(control, false);
        HIViewSetNeedsDisplay(control, false);
        probe.behaviour.rootControl = control;
        ASSERT_EQ(ShowInitialized(attributes), noErr);
        EXPECT_EQ(Place(control),
                  compositing ? (std::vector{0, 0, 400, 300}) : (std::vector{30, 40, 430, 340}));
        EXPECT_EQ(Place(window->pane), (std::vector{30, 40, 430, 340}));
        EXPECT_EQ(HIViewIsVisible(control), !compositing);
        EXPECT_EQ(HIViewGetNeedsDisplay(control), !compositing);
        EXPECT_EQ(window->CloseView(), noErr);
        EXPECT_EQ(Count(window->root), 0);
        instrument.reset();
        window.reset();
        EXPECT_EQ(PlatformLiveObjectCount(), before);
    }
}

TEST_F(EditorView, IdleComesAfterOneSecondAndThenFifteenTimesASecond) {
    probe.behaviour.rootControl = &probe; // which is none
    ASSERT_EQ(ShowInitialized(kWindowNoAttributes), noErr);
    EXPECT_EQ(Count(window->pane), 0);
    probe.clear();
    PlatformAdvanceEventLoop(0.99);
    EXPECT_EQ(TakeOpcodes(), Opcodes{});
    PlatformAdvanceEventLoop(0.02);
    EXPECT_EQ(TakeOpcodes(), Opcodes{kOpEditorIdle});
    PlatformAdvanceEventLoop(10);
    EXPECT_EQ(TakeOpcodes(), Opcodes(150, kOpEditorIdle));
    EXPECT_EQ(window->CloseView(), noErr);
    PlatformAdvanceEventLoop(2);
    EXPECT_EQ(TakeOpcodes(), kClosed);
}

TEST_F(EditorView, RefusedEditorIsStillDetachedAndDestroyed) {
    probe.behaviour.editorOpenResult = -5;
    EXPECT_EQ(ShowInitialized(kWindowCompositingAttribute), 1);
    EXPECT_EQ(window->pane, nullptr);
    EXPECT_EQ(Count(window->root), 0);
    PlatformAdvanceEventLoop(3);
    EXPECT_EQ(TakeOpcodes(), (Opcodes{kOpEditorCreate, kOpEditorOpen}));
    EXPECT_EQ(window->CloseView(), noErr);
    EXPECT_EQ(TakeOpcodes(), kClosed);
    EXPECT_EQ(probe.openEditors(), 0u);
}

TEST_F(EditorView, WithoutAnEditorItKeepsTheFallbackTextAndSendsNothingMore) {
    probe.behaviour.leaveEditorZero = true;
    for (const bool initialized : {false, true}) {
        OpenInstrument(initialized);
        const CFIndex objects = PlatformLiveObjectCount();
        ASSERT_EQ(Show(initialized ? kWindowNoAttributes : kWindowCompositingAttribute), noErr);
        ExpectFallback("Please reinstall Tavo Tarn 12", initialized ? 30 : 0, initialized ? 40 : 0);
        EXPECT_EQ(TakeOpcodes(), Opcodes(initialized ? 1 : 0, kOpEditorCreate));
        EXPECT_EQ(instrument->initialize(), noErr);
        probe.clear();
        PlatformAdvanceEventLoop(3);
        EXPECT_EQ(window->CloseView(), noErr);
        EXPECT_EQ(TakeOpcodes(), Opcodes{});
        window.reset();
        EXPECT_EQ(PlatformLiveObjectCount(), objects);
    }
}

TEST_F(EditorView, WithoutAnEngineTheTextNamesTheProductOfTheFile) {
    host.setEnginePath(std::nullopt);
    OpenInstrument(true, host.patchedComponent([](ProductRecord& record) {
        std::strcpy(record.vendor, "Acme");
        std::strcpy(record.product, "Organ");
    }));
    ASSERT_EQ(Show(kWindowCompositingAttribute), noErr);
    ExpectFallback("Please reinstall Acme Organ", 0, 0);
}

} // namespace
} // namespace velnor::testing
