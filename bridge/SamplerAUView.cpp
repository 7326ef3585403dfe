#include "bridge/SamplerAUView.h"

#include "bridge/EngineCall.h"
#include "bridge/ProductRecord.h"
#include "framework/ComponentEntryPoint.h"
#include "platform/AudioUnit.h"

#include <algorithm>
#include <limits>
#include <string>

namespace {

VELNOR_PRODUCT_RECORD velnor::ProductRecord conf;

} // namespace

namespace velnor {

namespace {

constexpr Float32 kNotificationInterval = 0.1f;
constexpr Float32 kFirstIdle = 1.0f;
constexpr Float32 kIdleInterval = 0.0666667f;
constexpr OSStatus kEditorRefused = 1;
constexpr Rect kFallbackBounds = {0, 0, 200, 200};

// A property that cannot be read leaves the value as it is.
template <typename T>
void readProperty(AudioUnit unit, AudioUnitPropertyID id, T& value) {
    UInt32 size = sizeof value;
    AudioUnitGetProperty(unit, id, kAudioUnitScope_Global, 0, &value, &size);
}

std::string fallbackText() {
    const ProductRecord& record = builtFile(conf);
    return "Please reinstall " + recordText(record.vendor) + " " + recordText(record.product);
}

SInt16 extent(SInt16 from, SInt16 to) {
    return static_cast<SInt16>(std::min<int>(to - from, std::numeric_limits<SInt16>::max()));
}

} // namespace

SamplerAUView::SamplerAUView(ComponentInstance inInstance)
    : AUCarbonViewBase(inInstance, kNotificationInterval) {}

SamplerAUView::~SamplerAUView() {
    if (mOpcodeProc != nullptr && mEditorHandle != 0) {
        StatusOf([this] {
            return callEngine(mOpcodeProc, mEngineHandle, kOpDetachEditor, mEditorHandle);
        });
        StatusOf([this] { return callEngine(mOpcodeProc, mEditorHandle, kOpEditorDestroy); });
    }
    mOpcodeProc = nullptr;
    mEngineHandle = 0;
    mEditorHandle = 0;
}

OSStatus SamplerAUView::CreateUI(Float32 xOffset, Float32 yOffset) {
    readInstrument();
    if (mOpcodeProc == nullptr || mEngineHandle == 0 || !createEditor()) {
        showFallback();
        return noErr;
    }
    if (!openEditor()) {
        return kEditorRefused;
    }
    attachEditor();
    embedEditor(xOffset, yOffset);
    CreateEventLoopTimer(kFirstIdle, kIdleInterval);
    return noErr;
}

void SamplerAUView::RespondToEventTimer(EventLoopTimerRef) {
    if (mOpcodeProc != nullptr && mEditorHandle != 0) {
        callEngine(mOpcodeProc, mEditorHandle, kOpEditorIdle);
    }
}

void SamplerAUView::readInstrument() {
    readProperty(GetEditAudioUnit(), kPropertySetupPath, mSetupPath);
    mSetupPath[kOrmoSetupPathSize - 1] = '\0';
    readProperty(GetEditAudioUnit(), kPropertyEngineOpcode, mOpcodeProc);
    readProperty(GetEditAudioUnit(), kPropertyEngineHandle, mEngineHandle);
}

// An engine that leaves the handle 0 has no editor to talk to.
bool SamplerAUView::createEditor() {
    callEngine(mOpcodeProc, 0, kOpEditorCreate, &mSetupPath[0], &mEditorHandle, mEngineHandle);
    return mEditorHandle != 0;
}

bool SamplerAUView::openEditor() {
    return callEngine(mOpcodeProc, mEditorHandle, kOpEditorOpen, GetCarbonWindow(), 0, 0, 1) == 0;
}

void SamplerAUView::attachEditor() {
    callEngine(mOpcodeProc, mEngineHandle, kOpAttachEditor, mEditorHandle);
}

void SamplerAUView::embedEditor(Float32 xOffset, Float32 yOffset) {
    ControlRef control = nullptr;
    callEngine(mOpcodeProc, mEditorHandle, kOpEditorGetView, &control);
    if (control == nullptr) {
        return;
    }
    EmbedControl(control);
    if (IsCompositWindow()) {
        placeInCompositingWindow(control, xOffset, yOffset);
    } else {
        placeInWindow(control, xOffset, yOffset);
    }
}

void SamplerAUView::placeInCompositingWindow(ControlRef control, Float32 xOffset, Float32 yOffset) {
    HIRect frame = {};
    HIViewGetFrame(control, &frame);
    frame.origin = {xOffset, yOffset};
    HIViewSetFrame(control, &frame);
}

void SamplerAUView::placeInWindow(ControlRef control, Float32 xOffset, Float32 yOffset) {
    Rect bounds = {};
    GetControlBounds(control, &bounds);
    SizeControl(GetCarbonPane(), extent(bounds.left, bounds.right),
                extent(bounds.top, bounds.bottom));
    MoveControl(control, static_cast<SInt16>(xOffset), static_cast<SInt16>(yOffset));
    HIViewSetVisible(control, true);
    HIViewSetNeedsDisplay(control, true);
}

void SamplerAUView::showFallback() {
    ControlFontStyleRec style = {};
    style.flags = kControlUseFontMask;
    style.font = kControlFontSmallSystemFont;
    const CFRef<CFStringRef> text(CFStringCreateWithCString(
        kCFAllocatorDefault, fallbackText().c_str(), kCFStringEncodingASCII));
    ControlRef control = nullptr;
    if (CreateStaticTextControl(nullptr, &kFallbackBounds, text.Get(), &style, &control) != noErr) {
        return;
    }
    CFRef<ControlRef> made(control);
    if (EmbedControl(control) == noErr) {
        static_cast<void>(made.Detach()); // the pane's from now on
    }
}

} // namespace velnor

extern "C" VELNOR_PLATFORM_API ComponentResult SamplerAUViewEntry(ComponentParameters* params,
                                                                  void* storage) {
    return velnor::ComponentEntryPoint<velnor::SamplerAUView>::Dispatch(params, storage);
}
