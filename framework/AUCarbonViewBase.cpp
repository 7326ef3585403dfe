#include "framework/AUCarbonViewBase.h"

#include "framework/ExceptionMapping.h"
#include "framework/SelectorArguments.h"

#include <algorithm>
#include <limits>

namespace velnor {

namespace {

constexpr EventTimerInterval kShortestDelay = 0.005;

// Whether the integer calls can say it, cut to an integer.
bool FitsControls(Float32 inValue) {
    using Limits = std::numeric_limits<SInt16>;
    return inValue >= Limits::min() && inValue <= Limits::max();
}

bool IsPlace(const Float32Point& inLocation, const Float32Point& inSize) {
    return FitsControls(inLocation.x) && FitsControls(inLocation.y) && FitsControls(inSize.x) &&
           FitsControls(inSize.y) && inSize.x >= 0 && inSize.y >= 0;
}

// The smallest size from the control's own corner that holds all of its children.
HISize SizeOfContents(ControlRef inControl, UInt16 inCount) {
    HISize size = {0, 0};
    for (UInt16 index = 1; index <= inCount; ++index) {
        ControlRef child = nullptr;
        HIRect frame = {{0, 0}, {0, 0}};
        if (GetIndexedSubControl(inControl, index, &child) == noErr &&
            HIViewGetFrame(child, &frame) == noErr) {
            size.width = std::max(size.width, frame.origin.x + frame.size.width);
            size.height = std::max(size.height, frame.origin.y + frame.size.height);
        }
    }
    return size;
}

} // namespace

AUCarbonViewBase::AUCarbonViewBase(ComponentInstance inInstance, Float32 inNotificationInterval)
    : ComponentBase(inInstance), mNotificationInterval(inNotificationInterval) {}

AUCarbonViewBase::~AUCarbonViewBase() {
    if (mTimer != nullptr) {
        RemoveEventLoopTimer(mTimer);
    }
    RemovePane();
}

void AUCarbonViewBase::RespondToEventTimer(EventLoopTimerRef) {}

OSStatus AUCarbonViewBase::EmbedControl(ControlRef inControl) {
    return ::EmbedControl(inControl, mCarbonPane.Get());
}

OSStatus AUCarbonViewBase::CreateEventLoopTimer(Float32 inDelay, Float32 inInterval) {
    if (mTimer != nullptr) {
        return noErr;
    }
    const EventTimerInterval delay = std::max(kShortestDelay, EventTimerInterval{inDelay});
    return InstallEventLoopTimer(GetMainEventLoop(), delay, inInterval, TimerProc, this, &mTimer);
}

void AUCarbonViewBase::TimerProc(EventLoopTimerRef inTimer, void* inThis) {
    StatusOf([&]() -> OSStatus {
        static_cast<AUCarbonViewBase*>(inThis)->RespondToEventTimer(inTimer);
        return noErr;
    });
}

ComponentResult AUCarbonViewBase::ComponentEntryDispatch(ComponentParameters* inParams,
                                                         AUCarbonViewBase* inThis) {
    if (inThis == nullptr) {
        return paramErr;
    }
    if (inParams->what == kAudioUnitCarbonViewCreateSelect) {
        return CallWithArguments<AudioUnit, WindowRef, ControlRef, const Float32Point*,
                                 const Float32Point*, ControlRef*>(
            inParams, [inThis](auto... args) { return inThis->CreateCarbonControl(args...); });
    }
    if (inParams->what == kComponentCanDoSelect && holdsArguments(inParams, 1) &&
        argument<SInt16>(inParams, 0, 1) == kAudioUnitCarbonViewCreateSelect) {
        return 1;
    }
    return ComponentBase::ComponentEntryDispatch(inParams, inThis);
}

// One view has one user interface: a second creation is refused, whatever came of the first.
OSStatus AUCarbonViewBase::CreateCarbonControl(AudioUnit inUnit, WindowRef inWindow,
                                               ControlRef inParent, const Float32Point* inLocation,
                                               const Float32Point* inSize, ControlRef* outControl) {
    if (inUnit == nullptr || inParent == nullptr || inLocation == nullptr || inSize == nullptr ||
        outControl == nullptr || mCarbonWindow != nullptr || !IsPlace(*inLocation, *inSize)) {
        return paramErr;
    }
    *outControl = nullptr;
    WindowAttributes attributes = kWindowNoAttributes;
    if (GetWindowAttributes(inWindow, &attributes) != noErr ||
        GetControlOwner(inParent) != inWindow) {
        return paramErr;
    }
    mEditAudioUnit = inUnit;
    mCarbonWindow = inWindow;
    mCompositWindow = (attributes & kWindowCompositingAttribute) != 0;
    OSStatus status = CreatePane(inParent, *inLocation, *inSize);
    if (status == noErr) {
        const Float32Point offset = mCompositWindow ? Float32Point{0, 0} : *inLocation;
        status = StatusOf([&] { return CreateUI(offset.x, offset.y); });
    }
    if (status != noErr) {
        RemovePane();
        return status;
    }
    SizePaneToContents();
    *outControl = mCarbonPane.Get();
    return noErr;
}

OSStatus AUCarbonViewBase::CreatePane(ControlRef inParent, const Float32Point& inLocation,
                                      const Float32Point& inSize) {
    const Rect nowhere = {0, 0, 0, 0};
    ControlRef pane = nullptr;
    OSStatus status = CreateUserPaneControl(nullptr, &nowhere, kControlSupportsEmbedding, &pane);
    if (status != noErr) {
        return status;
    }
    CFRef<ControlRef> made(pane);
    mCarbonPane = made.Share();
    status = ::EmbedControl(pane, inParent);
    if (status != noErr) {
        return status;
    }
    static_cast<void>(made.Detach()); // the parent's from now on
    if (mCompositWindow) {
        const HIRect frame = {inLocation, {inSize.x, inSize.y}};
        return HIViewSetFrame(pane, &frame);
    }
    SizeControl(pane, static_cast<SInt16>(inSize.x), static_cast<SInt16>(inSize.y));
    MoveControl(pane, static_cast<SInt16>(inLocation.x), static_cast<SInt16>(inLocation.y));
    return noErr;
}

// A pane without contents keeps the size that the host asked for.
void AUCarbonViewBase::SizePaneToContents() {
    UInt16 count = 0;
    HIRect frame = {{0, 0}, {0, 0}};
    if (CountSubControls(mCarbonPane.Get(), &count) != noErr || count == 0 ||
        HIViewGetFrame(mCarbonPane.Get(), &frame) != noErr) {
        return;
    }
    frame.size = SizeOfContents(mCarbonPane.Get(), count);
    HIViewSetFrame(mCarbonPane.Get(), &frame);
}

// A pane whose window is gone has left the tree already.
void AUCarbonViewBase::RemovePane() {
    ControlRef parent = nullptr;
    if (mCarbonPane && GetSuperControl(mCarbonPane.Get(), &parent) == noErr && parent != nullptr) {
        DisposeControl(mCarbonPane.Get());
    }
    mCarbonPane.Reset();
}

} // namespace velnor
