// The base of editor views: a pane in the host's window and a timer.
#ifndef VELNOR_FRAMEWORK_AUCARBONVIEWBASE_H
#define VELNOR_FRAMEWORK_AUCARBONVIEWBASE_H

#include "framework/ComponentBase.h"
#include "platform/CFRef.h"
#include "platform/CarbonView.h"
#include "platform/EventLoop.h"

namespace velnor {

/// Thread main, exclusive, may block.
class AUCarbonViewBase : public ComponentBase {
public:
    /// inNotificationInterval is the least time, in seconds, between two notifications of one
    /// parameter's changes.
    AUCarbonViewBase(ComponentInstance inInstance, Float32 inNotificationInterval);
    /// Removes the timer, and the pane with all that is embedded in it.
    ~AUCarbonViewBase() override;

    /// Builds the user interface inside the pane. The offsets are where the pane's top left corner
    /// is for MoveControl and the like: (0, 0) in a compositing window, else the location that the
    /// host asked for. Any status but 0 ends the creation: the pane goes, and the host gets the
    /// status.
    virtual OSStatus CreateUI(Float32 inXOffset, Float32 inYOffset) = 0;

    /// Called on every tick. The view may be closed inside.
    virtual void RespondToEventTimer(EventLoopTimerRef inTimer);

    /// Null before the host creates the view's control, as are the next two.
    AudioUnit GetEditAudioUnit() const { return mEditAudioUnit; }
    WindowRef GetCarbonWindow() const { return mCarbonWindow; }
    /// Borrowed.
    ControlRef GetCarbonPane() const { return mCarbonPane.Get(); }
    bool IsCompositWindow() const { return mCompositWindow; }
    Float32 GetNotificationInterval() const { return mNotificationInterval; }

    /// Adds the control to the pane, which takes over the reference that it was made with.
    /// paramErr: no control, or no pane yet.
    OSStatus EmbedControl(ControlRef inControl);

    /// Starts the view's one timer on the main event loop; does nothing when it runs already. In
    /// seconds; a delay below 0.005 is raised to that. paramErr: an interval below 0.
    OSStatus CreateEventLoopTimer(Float32 inDelay, Float32 inInterval);

    /// Creation of the view's control and its can-do; the other selectors go to ComponentBase.
    static ComponentResult ComponentEntryDispatch(ComponentParameters* inParams,
                                                  AUCarbonViewBase* inThis);

private:
    OSStatus CreateCarbonControl(AudioUnit inUnit, WindowRef inWindow, ControlRef inParent,
                                 const Float32Point* inLocation, const Float32Point* inSize,
                                 ControlRef* outControl);
    OSStatus CreatePane(ControlRef inParent, const Float32Point& inLocation,
                        const Float32Point& inSize);
    void SizePaneToContents();
    void RemovePane();
    static void TimerProc(EventLoopTimerRef inTimer, void* inThis);

    const Float32 mNotificationInterval;
    AudioUnit mEditAudioUnit = nullptr;
    WindowRef mCarbonWindow = nullptr;
    bool mCompositWindow = false;
    CFRef<ControlRef> mCarbonPane;
    EventLoopTimerRef mTimer = nullptr;
};

} // namespace velnor

#endif
