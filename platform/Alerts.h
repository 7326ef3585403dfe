/* Modal messages to the user, through a presenter that the host process can replace. */
#ifndef VELNOR_PLATFORM_ALERTS_H
#define VELNOR_PLATFORM_ALERTS_H

#include "platform/CFBase.h"

VELNOR_BEGIN_C

enum { kCFUserNotificationStopAlertLevel = 0 };
enum { kCFUserNotificationDefaultResponse = 0 };

/* Shows an alert and waits for the answer, no time-out at 0 seconds. Icon, sound and localisation
 * URLs must be null. A null button title is the platform's own ("OK"), or no button for the second
 * and third. response may be null. 0 when the alert was presented. */
VELNOR_PLATFORM_API SInt32 CFUserNotificationDisplayAlert(
    CFTimeInterval timeout, CFOptionFlags flags, CFTypeRef iconURL, CFTypeRef soundURL,
    CFTypeRef localizationURL, CFStringRef header, CFStringRef message, CFStringRef defaultButton,
    CFStringRef alternateButton, CFStringRef otherButton, CFOptionFlags* response);

typedef SInt16 AlertType;
enum { kAlertStopAlert = 0, kAlertNoteAlert = 1, kAlertCautionAlert = 2 };
enum { kStdCancelItemIndex = 2, kStdOkItemIndex = 1 };
typedef struct OpaqueDialogRef* DialogRef;
typedef SInt16 DialogItemIndex;

typedef struct AlertStdCFStringAlertParamRec {
    CFStringRef defaultText; /* null: the platform's own */
    CFStringRef cancelText;  /* null: no such button */
    CFStringRef otherText;   /* null: no such button */
    Boolean helpButton;
    SInt16 defaultButton; /* 1 to 3: which one is the default */
    SInt16 cancelButton;  /* 1 to 3, or 0 for none */
} AlertStdCFStringAlertParamRec;

VELNOR_PLATFORM_API OSStatus GetStandardAlertDefaultParams(AlertStdCFStringAlertParamRec* param,
                                                           UInt32 version);
/* error is the headline, explanation may be null, param may be null for a single OK. The dialog is
 * disposed of by RunStandardAlert. */
VELNOR_PLATFORM_API OSStatus CreateStandardAlert(AlertType type, CFStringRef error,
                                                 CFStringRef explanation,
                                                 const AlertStdCFStringAlertParamRec* param,
                                                 DialogRef* dialog);
/* filter must be null. *hit is the button: 1 default, 2 cancel, 3 other. */
VELNOR_PLATFORM_API OSStatus RunStandardAlert(DialogRef dialog, void* filter, DialogItemIndex* hit);

/* One alert as a presenter gets it: UTF-8, header and message possibly empty, buttons[i] null for
 * none. All borrowed for the call. */
typedef struct PlatformAlert {
    SInt16 level; /* 0 stop, 1 note, 2 caution */
    const char* header;
    const char* message;
    const char* buttons[3];
} PlatformAlert;

/* Shows the alert, waits, and returns the index of the chosen button; below 0 when it could not be
 * shown. */
typedef SInt32 (*PlatformAlertPresenter)(const PlatformAlert* alert, void* context);

/* Null restores the default: a graphical dialog where there is a display and a dialog program
 * (started without a shell), else the text on standard error and, only where a person sits at a
 * terminal, a wait for Enter. Never waits without a terminal. Returns the presenter before. */
VELNOR_PLATFORM_API PlatformAlertPresenter
PlatformSetAlertPresenter(PlatformAlertPresenter presenter, void* context);

VELNOR_END_C

#endif
