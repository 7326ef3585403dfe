// Modal messages to the user, through a presenter that the host process can replace.
#ifndef VELNOR_PLATFORM_ALERTS_H
#define VELNOR_PLATFORM_ALERTS_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

enum {
    kCFUserNotificationStopAlertLevel = 0,
    kCFUserNotificationNoteAlertLevel = 1,
    kCFUserNotificationCautionAlertLevel = 2,
    kCFUserNotificationPlainAlertLevel = 3
};
enum {
    kCFUserNotificationDefaultResponse = 0,
    kCFUserNotificationAlternateResponse = 1,
    kCFUserNotificationOtherResponse = 2,
    kCFUserNotificationCancelResponse = 3 // the time-out came first
};

// Shows an alert and waits for the answer, without end at 0 seconds. flags are the level. Icon,
// sound and localisation URLs must be null, else paramErr. A null button title is the platform's
// own ("OK"), or no button for the second and third; closing the alert answers with the last
// button. header, message and response may be null. 0 when the alert was presented, ioErr when it
// could not be. Thread main, exclusive, may block.
VELNOR_PLATFORM_API SInt32 CFUserNotificationDisplayAlert(
    CFTimeInterval timeout, CFOptionFlags flags, CFTypeRef iconURL, CFTypeRef soundURL,
    CFTypeRef localizationURL, CFStringRef header, CFStringRef message, CFStringRef defaultButton,
    CFStringRef alternateButton, CFStringRef otherButton, CFOptionFlags* response);

typedef SInt16 AlertType;
enum { kAlertStopAlert = 0, kAlertNoteAlert = 1, kAlertCautionAlert = 2, kAlertPlainAlert = 3 };
enum { kStdCancelItemIndex = 2, kStdOkItemIndex = 1 };
enum { kStdCFStringAlertVersionOne = 1 };
typedef struct OpaqueDialogRef* DialogRef;
typedef SInt16 DialogItemIndex;

typedef struct AlertStdCFStringAlertParamRec {
    CFStringRef defaultText; // null: the platform's own
    CFStringRef cancelText;  // null: no such button
    CFStringRef otherText;   // null: no such button
    Boolean helpButton;      // without effect: there is no help to open
    SInt16 defaultButton;    // 1 to 3: which one is the default
    SInt16 cancelButton;     // 1 to 3, or 0 for none: what closing the alert means
} AlertStdCFStringAlertParamRec;

// A single "OK". paramErr for a version other than kStdCFStringAlertVersionOne.
VELNOR_PLATFORM_API OSStatus GetStandardAlertDefaultParams(AlertStdCFStringAlertParamRec* param,
                                                           UInt32 version);
// error is the headline, explanation may be null, param may be null for a single OK. paramErr for
// an unknown type or button number. The dialog is disposed of by RunStandardAlert.
VELNOR_PLATFORM_API OSStatus CreateStandardAlert(AlertType type, CFStringRef error,
                                                 CFStringRef explanation,
                                                 const AlertStdCFStringAlertParamRec* param,
                                                 DialogRef* dialog);
// filter must be null, else paramErr. *hit, which may be null, is the button: 1 default, 2 cancel,
// 3 other. ioErr when the alert could not be presented. The dialog is gone in each case. Thread
// main, exclusive, may block.
VELNOR_PLATFORM_API OSStatus RunStandardAlert(DialogRef dialog, void* filter, DialogItemIndex* hit);

// One alert as a presenter gets it: UTF-8, header and message possibly empty, buttons[i] null for
// none. All borrowed for the call.
typedef struct PlatformAlert {
    SInt16 level; // 0 stop, 1 note, 2 caution, 3 plain
    const char* header;
    const char* message;
    const char* buttons[3];
    SInt16 defaultButton;   // index of the button that Enter chooses; there is such a button
    SInt16 cancelButton;    // index of the button that closing the alert chooses; the same
    CFTimeInterval timeout; // seconds; 0: none
} PlatformAlert;

enum { kPlatformAlertTimedOut = 3 };

// Shows the alert, waits, and returns the index of the chosen button, or kPlatformAlertTimedOut;
// below 0 when it could not be shown. Called on the thread of the call that shows the alert: main,
// exclusive, may block; it may run the event loop.
typedef SInt32 (*PlatformAlertPresenter)(const PlatformAlert* alert, void* context);

// Null restores the default: a graphical dialog where there is a display (DISPLAY,
// WAYLAND_DISPLAY) and a dialog program on the search path (zenity, kdialog, xmessage; started
// without a shell), else the text on standard error and, only where a person sits at a terminal, a
// wait for Enter or the choice of a button. Never waits without a terminal: then the answer is that
// of a closed alert. Returns the presenter before, null for the default; its context is for whoever
// set it to remember. Thread any, concurrent, may block.
VELNOR_PLATFORM_API PlatformAlertPresenter
PlatformSetAlertPresenter(PlatformAlertPresenter presenter, void* context);

VELNOR_END_C

#endif
